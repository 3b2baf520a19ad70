#include "kernels/loops/loops.h"

#include <atomic>
#include <cstring>
#include <iterator>

namespace {

// Points to constant tables only, so that nobody waits for anybody.
constinit std::atomic<const SZtaSampleLoops*> g_psActive{nullptr};

std::uint64_t FeaturesOfThisProcessor() noexcept
{
    return ZtaFeaturesOfProcessor(ZtaReadProcessorWords());
}

} // namespace

const SZtaSampleLoops& ZtaChooseLoops(std::uint64_t ui64Features) noexcept
{
    const SZtaLoopTarget* psTarget = std::begin(g_asLoopTargets);
    while (!psTarget->RunsWith(ui64Features)) {
        ++psTarget;
    }
    return *psTarget->psLoops;
}

const SZtaSampleLoops* ZtaFindLoops(const char* pszName, std::uint64_t ui64Features) noexcept
{
    if (pszName == nullptr) {
        return &ZtaChooseLoops(ui64Features);
    }
    for (const SZtaLoopTarget& rsTarget : g_asLoopTargets) {
        if (std::strcmp(rsTarget.psLoops->pszName, pszName) == 0 && rsTarget.RunsWith(ui64Features)) {
            return rsTarget.psLoops;
        }
    }
    return nullptr;
}

const SZtaSampleLoops& ZtaActiveLoops() noexcept
{
    const SZtaSampleLoops* psLoops = g_psActive.load(std::memory_order_relaxed);
    if (psLoops == nullptr) {
        // A selection that comes in between stays.
        const SZtaSampleLoops* psPreferred = &ZtaChooseLoops(FeaturesOfThisProcessor());
        if (g_psActive.compare_exchange_strong(psLoops, psPreferred, std::memory_order_relaxed)) {
            psLoops = psPreferred;
        }
    }
    return *psLoops;
}

bool ZtaSelectLoops(const char* pszName) noexcept
{
    const SZtaSampleLoops* psLoops = ZtaFindLoops(pszName, FeaturesOfThisProcessor());
    if (psLoops == nullptr) {
        return false;
    }
    g_psActive.store(psLoops, std::memory_order_relaxed);
    return true;
}

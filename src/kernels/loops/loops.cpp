#include "kernels/loops/loops.h"

#include <atomic>
#include <cstring>
#include <iterator>

namespace {

// Points to constant tables only, so relaxed ordering is sufficient.
constinit std::atomic<const SZtaSampleLoops*> g_psActive{nullptr};

std::uint64_t DetectCpuFeatures() noexcept
{
    return ZtaDetectCpuFeatures(ZtaReadCpuid());
}

} // namespace

const SZtaSampleLoops& ZtaBestLoops(std::uint64_t ui64Features) noexcept
{
    const SZtaLoopVariant* psVariant = std::begin(kLoopVariants);
    while (!psVariant->IsSupported(ui64Features)) {
        ++psVariant;
    }
    return *psVariant->psLoops;
}

const SZtaSampleLoops* ZtaFindLoops(const char* pszName, std::uint64_t ui64Features) noexcept
{
    if (pszName == nullptr) {
        return &ZtaBestLoops(ui64Features);
    }
    if (std::strcmp(pszName, "plain") == 0) { // the former name, which hosts still pass
        pszName = "scalar";
    }
    for (const SZtaLoopVariant& rsVariant : kLoopVariants) {
        if (std::strcmp(rsVariant.psLoops->pszName, pszName) == 0 && rsVariant.IsSupported(ui64Features)) {
            return rsVariant.psLoops;
        }
    }
    return nullptr;
}

const SZtaSampleLoops& ZtaActiveLoops() noexcept
{
    const SZtaSampleLoops* psLoops = g_psActive.load(std::memory_order_relaxed);
    if (psLoops == nullptr) {
        // A concurrent selection is kept.
        const SZtaSampleLoops* psPreferred = &ZtaBestLoops(DetectCpuFeatures());
        if (g_psActive.compare_exchange_strong(psLoops, psPreferred, std::memory_order_relaxed)) {
            psLoops = psPreferred;
        }
    }
    return *psLoops;
}

bool ZtaSetActiveLoops(const char* pszName) noexcept
{
    const SZtaSampleLoops* psLoops = ZtaFindLoops(pszName, DetectCpuFeatures());
    if (psLoops == nullptr) {
        return false;
    }
    g_psActive.store(psLoops, std::memory_order_relaxed);
    return true;
}

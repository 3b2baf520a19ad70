#include "kernels/loops/loops.h"

#include <atomic>
#include <iterator>

namespace {

// Threads that come first at the same time all store the same pointer to the same constant table.
constinit std::atomic<const SZtaSampleLoops*> g_psActive{nullptr};

} // namespace

const SZtaSampleLoops& ZtaChooseLoops(std::uint64_t ui64Features) noexcept
{
    const SZtaLoopTarget* psTarget = std::begin(g_asLoopTargets);
    while (!psTarget->RunsWith(ui64Features)) {
        ++psTarget;
    }
    return *psTarget->psLoops;
}

const SZtaSampleLoops& ZtaActiveLoops() noexcept
{
    const SZtaSampleLoops* psLoops = g_psActive.load(std::memory_order_relaxed);
    if (psLoops == nullptr) {
        psLoops = &ZtaChooseLoops(ZtaFeaturesOfProcessor(ZtaReadProcessorWords()));
        g_psActive.store(psLoops, std::memory_order_relaxed);
    }
    return *psLoops;
}

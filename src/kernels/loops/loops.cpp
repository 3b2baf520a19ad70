#include "kernels/loops/loops.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <iterator>

namespace {

// Points to constant tables only, so relaxed ordering is sufficient.
constinit std::atomic<const SZtaSampleLoops*> g_psActive{nullptr};

// If input and output fit in the last-level cache, regular stores are as fast as streaming stores, and the next reader
// finds the output in the cache. Beyond, streaming stores are faster. One thread can use the whole cache, so the number
// of threads that share it does not matter. But large servers and their virtual machines report caches of which one
// core can use only a part: with 480 MiB, streaming stores are faster from 64 MiB on. Unknown sizes count as large.
constexpr std::uint64_t kLowerStreamedBytes = 1UL << 20;
constexpr std::uint64_t kUpperStreamedBytes = 64UL << 20;

constinit std::atomic<bool> g_bHasMinStreamedBytes{false};

std::uint64_t DetectCpuFeatures() noexcept
{
    return ZtaDetectCpuFeatures(ZtaReadCpuid());
}

} // namespace

constinit unsigned long g_ulMinStreamedBytes = kLowerStreamedBytes;

unsigned long ZtaComputeMinStreamedBytes(std::uint64_t ui64CacheBytes) noexcept
{
    return ui64CacheBytes == 0 ? kUpperStreamedBytes
                               : std::clamp(ui64CacheBytes, kLowerStreamedBytes, kUpperStreamedBytes);
}

unsigned long ZtaMinStreamedBytes() noexcept
{
    if (!g_bHasMinStreamedBytes.load(std::memory_order_acquire)) {
        // Concurrent first calls store the same value.
        const unsigned long ulBytes = ZtaComputeMinStreamedBytes(ZtaDetectLastLevelCache(ZtaReadCpuidLeaf));
        __atomic_store_n(&g_ulMinStreamedBytes, ulBytes, __ATOMIC_RELAXED);
        g_bHasMinStreamedBytes.store(true, std::memory_order_release);
    }
    return __atomic_load_n(&g_ulMinStreamedBytes, __ATOMIC_RELAXED);
}

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

#include "bench/common/instruction_set.h"

#include <zta/ipp.h>
#include <zta/sample_loops.h>

#include <stdexcept>

namespace bench {

std::vector<InstructionSet> SupportedInstructionSets(const zta::host::Module& module)
{
    const auto selectLoops = module.Symbol<decltype(&ztSelectSampleLoops)>("ztSelectSampleLoops");
    const auto setFeatures = module.Symbol<decltype(&ippSetCpuFeatures)>("ippSetCpuFeatures");
    unsigned long detected = 0;
    module.Symbol<decltype(&ippGetCpuFeatures)>("ippGetCpuFeatures")(&detected, nullptr);
    // All features from AVX-512 F on need AVX-512, except MPX and the processor models between them.
    constexpr unsigned long kBelowAvx512 = (1UL << 20) - 1;
    struct Entry {
        const char* name;
        const char* loops;
        unsigned long features;
    };
    const Entry entries[] = {{"AVX-512", "avx512", detected}, {"AVX2", "avx2", detected & kBelowAvx512}};
    std::vector<InstructionSet> sets;
    for (const Entry& entry : entries) {
        if (selectLoops(entry.loops) >= 0) {
            sets.push_back({entry.name, [=] {
                                if (selectLoops(entry.loops) < 0) {
                                    throw std::runtime_error(std::string("cannot select ") + entry.name);
                                }
                                setFeatures(entry.features);
                            }});
        }
    }
    selectLoops(nullptr);
    if (sets.empty()) {
        sets.push_back({"SSE2", [] {}});
    }
    return sets;
}

} // namespace bench

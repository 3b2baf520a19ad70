/// The module under test in use: loaded, with an engine.
#pragma once

#include "host/module.h"
#include "tools/ztvalidate/check.h"
#include "tools/ztvalidate/pool_host.h"

#include <random>

namespace zta::validate {

struct Session {
    explicit Session(const Context& context)
        : module(context.subject), engine(module.CreateEngine(host)), random(context.seed), seed(context.seed)
    {
    }

    host::Module module;
    PoolHost host;
    host::Ref<IZtaAudioSamplesEngine> engine;
    std::mt19937_64 random;
    std::uint64_t seed;
};

} // namespace zta::validate

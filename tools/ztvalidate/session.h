/// The module under test in use: loaded, with an engine on a host that records.
#pragma once

#include "host/module.h"
#include "host/recording_host.h"
#include "tools/ztvalidate/check.h"

#include <random>

namespace zta::validate {

struct Session {
    explicit Session(const Context& context)
        : module(context.subject), engine(module.CreateEngine(host)), random(context.seed)
    {
    }

    host::Module module;
    host::CallLog poolCalls;
    host::RecordingHost host{poolCalls};
    host::Ref<IZtaAudioSamplesEngine> engine;
    std::mt19937_64 random;
};

} // namespace zta::validate

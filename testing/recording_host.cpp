#include "testing/recording_host.h"

#include <zta/module.h>
#include <zta/status.h>

#include <stdexcept>

namespace zta::test {

host::Ref<IClassFactory> ModuleClassFactory()
{
    void* factory = nullptr;
    if (DllGetClassObject(CLSID_ZtaAudioSamplesEngine, IID_IClassFactory, &factory) < 0) {
        throw std::runtime_error("the module has no class factory");
    }
    return host::Ref<IClassFactory>::Adopt(static_cast<IClassFactory*>(factory));
}

host::Ref<IZtaAudioSamplesEngineFactory> CreateEngineFactory()
{
    void* factory = nullptr;
    if (ModuleClassFactory()->CreateInstance(nullptr, IID_IZtaAudioSamplesEngineFactory, &factory) < 0) {
        throw std::runtime_error("the class factory makes no engine factory");
    }
    return host::Ref<IZtaAudioSamplesEngineFactory>::Adopt(static_cast<IZtaAudioSamplesEngineFactory*>(factory));
}

host::Ref<IZtaAudioSamplesEngine> CreateEngine(IZtQuonEnginePrivate& hostEngine, int* status)
{
    host::Ref<IZtaAudioSamplesEngine> engine;
    const int result = CreateEngineFactory()->CreateAudioSamplesEngine(&hostEngine, 0, engine.Put());
    if (status != nullptr) {
        *status = result;
    } else if (result < 0) {
        throw std::runtime_error("the engine could not be created");
    }
    return engine;
}

} // namespace zta::test

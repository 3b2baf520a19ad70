#include "testing/recording_host.h"

#include <zta/module.h>
#include <zta/status.h>

#include <stdexcept>

namespace zta::test {

host::Ref<IZtaAudioSamplesEngine> CreateEngine(IZtQuonEnginePrivate& hostEngine, int* status)
{
    host::Ref<IClassFactory> classFactory;
    void* pv = nullptr;
    if (DllGetClassObject(CLSID_ZtaAudioSamplesEngine, IID_IClassFactory, &pv) < 0) {
        throw std::runtime_error("the module has no class factory");
    }
    classFactory = host::Ref<IClassFactory>::Adopt(static_cast<IClassFactory*>(pv));
    pv = nullptr;
    if (classFactory->CreateInstance(nullptr, IID_IZtaAudioSamplesEngineFactory, &pv) < 0) {
        throw std::runtime_error("the class factory makes no engine factory");
    }
    const auto factory =
        host::Ref<IZtaAudioSamplesEngineFactory>::Adopt(static_cast<IZtaAudioSamplesEngineFactory*>(pv));
    IZtaAudioSamplesEngine* engine = nullptr;
    const int result = factory->CreateAudioSamplesEngine(&hostEngine, 0, &engine);
    if (status != nullptr) {
        *status = result;
    } else if (result < 0) {
        throw std::runtime_error("the engine could not be created");
    }
    return host::Ref<IZtaAudioSamplesEngine>::Adopt(engine);
}

} // namespace zta::test

#include "component/class_factory.h"
#include "engine/engine_factory.h"

/// The classes of the module. The component layer declares the table and creates its classes.
const CZtFactoryTemplate g_aoTemplates[] = {
    {L"KelvarVideo AudioSamples Engine", &CLSID_ZtaAudioSamplesEngine, &CZtaAudioSamplesEngineFactory::CreateInstance,
     nullptr, nullptr},
};

const int g_iTemplates = sizeof(g_aoTemplates) / sizeof(g_aoTemplates[0]);

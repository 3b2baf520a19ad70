#include "component/smart_ptr.h"

#include <zta/host_interfaces.h>

template class TZtSmartPtr<IZtAudioSamples>;
template class TZtSmartPtr<IZtAVContent>;

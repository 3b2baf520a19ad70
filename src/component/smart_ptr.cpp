#include "component/smart_ptr.h"

template class TZtSmartPtr<IZtAudioSamples>;
template class TZtSmartPtr<IZtAVContent>;

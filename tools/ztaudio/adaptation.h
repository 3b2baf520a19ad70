/// The limits of the engine, and what the tool does about them.
#pragma once

#include "tools/ztaudio/context.h"
#include "tools/ztaudio/sample_source.h"

#include <string>

/// Throws Failure if the sound has more channels than the tool processes.
void RequireChannels(const SampleSource& sound, const std::string& name);

/// Notes that the engine has no operations for the sound's rate or number of channels, so that its samples are
/// processed under another label.
void NoteAdaptation(const SampleSource& sound, const std::string& name, const Context& context);

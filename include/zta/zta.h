/// All public C++ headers. A host in C includes <zta/c/zta.h> instead.
///
/// Conventions of the documentation comments:
/// - Tags: [any thread] concurrent calls are allowed. [one thread] the caller serializes the calls. [real-time] the
///   function does not allocate, lock, make a system call or block, so a real-time thread may call it. [allocates] the
///   function allocates or frees memory, so a real-time thread must not call it.
/// - Arguments: the name, two blanks and the description. Errors: `CODE  condition`, in the order of the checks if the
///   order matters.
/// - Units: lengths, capacities and offsets are in bytes unless the name says frames. A sample frame is one sample of
///   each channel. Gains are linear factors.
#pragma once

#include <zta/audio_records.h>
#include <zta/engine_interfaces.h>
#include <zta/error_text.h>
#include <zta/export.h>
#include <zta/host_interfaces.h>
#include <zta/host_plugin.h>
#include <zta/ipp.h>
#include <zta/logger.h>
#include <zta/module.h>
#include <zta/sample_loops.h>
#include <zta/status.h>
#include <zta/unknown.h>

/// Everything that a host compiles against.
///
/// What the comments of these headers say in brackets: [any thread]: calls may come from any thread, also at the same
/// time. [one thread]: one call at a time, by the caller's own order. [allocates]: memory, so not for a real-time
/// thread. [no allocation], [no lock], [no system call]: what a real-time thread wants to know. A name and two blanks
/// begin the account of an argument; "Errors" begins that of the statuses below 0, in the order of the checks where
/// that matters. Lengths are bytes unless a name says frames; a sample frame is one sample of each channel.
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

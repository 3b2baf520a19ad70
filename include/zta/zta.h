/// Everything that a host compiles against.
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
#include <zta/status.h>
#include <zta/unknown.h>

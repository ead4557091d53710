// The module's one exported function.
#pragma once

#include <cstdint>

#include "host/host_services.h"

#if defined(_WIN32)
#define VANTOR_EXPORT __declspec(dllexport)
#else
#define VANTOR_EXPORT __attribute__((visibility("default")))
#endif

// Binds the host's services and registers the source type handler and the API functions. 1 on success, 0
// otherwise; with a null `host` (unloading) it does nothing and returns 0.
extern "C" VANTOR_EXPORT int32_t VantorPluginEntry(void* moduleInstance, vantor::HostInfo* host);

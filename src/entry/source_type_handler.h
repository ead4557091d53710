// The record registered under "pcmsrc": which files and types this module makes sources for.
#pragma once

#include "host/host_services.h"

namespace vantor {

extern const SourceTypeHandler sourceTypeHandler;

}  // namespace vantor

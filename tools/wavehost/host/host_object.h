// Slot 0 of the objects that this host hands to the module.
#pragma once

#include "vantor_wave/host_interface.h"

namespace vantor::wavehost {

template <typename T>
void* Destroy(T* object, unsigned flags) {
    if (flags & deleteAndFree)
        delete object;
    else
        object->~T();
    return object;  // NOLINT(clang-analyzer-cplusplus.NewDelete): the address alone, as compilers' own do
}

}  // namespace vantor::wavehost

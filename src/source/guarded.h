// No exception leaves the module: a slot or a registered function that runs out of memory fails.
#pragma once

namespace vantor {

template <typename Result, typename Body>
Result Guarded(Result fallback, Body body) noexcept {
    try {
        return body();
    } catch (...) {
        return fallback;
    }
}

template <typename Body>
void Guarded(Body body) noexcept {
    try {
        body();
    } catch (...) {  // the request is dropped
    }
}

}  // namespace vantor

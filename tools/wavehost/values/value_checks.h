// Values looked at before anything is written: what a field cannot hold would be cut, turned into 0 or
// dropped.
#pragma once

#include <string>
#include <string_view>

namespace vantor::wavehost {

// Why the key's field cannot hold the value; empty when it can. An empty value removes, which is no matter of
// the field. `sampleRate` in Hz is that of the file.
std::string ValueObjection(std::string_view key, std::string_view value, double sampleRate);

}  // namespace vantor::wavehost

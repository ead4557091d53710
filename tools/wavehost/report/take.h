// One take of a sound report: what its file says of itself.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "wavehost/facts/source_facts.h"
#include "wavehost/report/waveform.h"

namespace vantor::wavehost {

struct TakeFinding {
    std::string severity;  // "error", "warning", "note"
    std::string text;
};

struct Take {
    std::string file;      // below the report's folder
    std::string obstacle;  // why it could not be opened; empty: all else is known
    std::string project, roll, date, scene, take, note;
    bool isCircled = false;
    std::string position;   // HH:MM:SS:FF where the file gives a frame rate, else HH:MM:SS.mmm; empty: none
    std::string frameRate;  // "25", "29.97df"; empty: not known
    double lengthSeconds = 0;
    int32_t channels = 0;
    double sampleRate = 0;  // Hz
    int32_t bitDepth = 0;
    std::vector<std::string> tracks;  // a name a channel
    std::vector<TakeFinding> findings;
    Waveform waveform;
};

// `file` opened through the module and looked at by the checks of `check`. Never throws for what is wrong
// with the file: that is what the report tells.
Take TakeOf(const Module& module, const std::string& file, const std::string& nameInReport);

// HH:MM:SS, to the nearest second; and "48 kHz", "44.1 kHz".
std::string LengthText(double seconds);
std::string RateText(double sampleRate);

}  // namespace vantor::wavehost

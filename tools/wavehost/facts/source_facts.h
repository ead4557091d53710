// What a source tells about its file, asked through the slots and extended calls that the audio host uses.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vantor_wave/host_interface.h"
#include "wavehost/host/module_loader.h"

namespace vantor::wavehost {

struct MarkerFact {
    int32_t id;
    double startSeconds;
    double endSeconds;
    bool isRegion;
    std::string name;
};

struct SliceFact {
    int32_t index;
    double startSeconds;
    double positionBeats;
};

using Metadata = std::vector<std::pair<std::string, std::string>>;  // sorted by key

struct SourceFacts {
    std::string file;
    bool online;
    std::string type;
    int32_t channels;
    double sampleRate;  // Hz
    double lengthSeconds;
    int32_t bitDepth;
    double positionSeconds;  // on the timeline; -1: the file has none
    std::string infoText;
    Metadata metadata;
    std::vector<MarkerFact> markers;
    std::vector<SliceFact> slices;
};

// A source for the file, online or not, as the host's last-resort pass makes it. Throws Failure when the
// system does not let the file be read, with its reason, and when the module makes none.
HostPtr<PCM_source> CreateSource(const Module& module, const std::string& file);
// An online source. Throws Failure with the reason.
HostPtr<PCM_source> OpenSource(const Module& module, const std::string& file);

// A number as the extended calls take it.
inline void* Number(intptr_t value) {
    return reinterpret_cast<void*>(value);
}

// Empty when the source has no value for the key. A common field ("TITLE") or a scheme key ("INFO:INAM").
std::string ValueOf(PCM_source& source, const std::string& key);
Metadata MetadataOf(PCM_source& source);
// What the source's last request to write, for the answer alone, would make of it.
Metadata PlannedMetadataOf(PCM_source& source);
std::vector<MarkerFact> MarkersOf(PCM_source& source);
std::vector<SliceFact> SlicesOf(PCM_source& source);
// The source of one slice; null when there is no such slice.
HostPtr<PCM_source> SliceSource(PCM_source& source, int32_t index);
// The first value of a list of keys that is not empty; "" when there is none.
std::string FirstValue(const Metadata& metadata, std::initializer_list<std::string_view> keys);
// One a channel: its name in the iXML track list, else its number.
std::vector<std::string> ChannelNames(const SourceFacts& facts);
// Readable lines; for a source that is not online, why.
std::string InfoTextOf(PCM_source& source);
SourceFacts FactsOf(PCM_source& source, const std::string& file);

}  // namespace vantor::wavehost

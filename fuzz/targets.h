// The fuzz targets: each takes one input of any length. A target throws when the module breaks a promise;
// crashes and sanitizer reports speak for themselves.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace vantor::fuzz {

using Input = std::span<const uint8_t>;

// Whole files: opened, described and played in several ways.
void PlayRiff(Input input);
void PlayWave64(Input input);
void PlayIff(Input input);
void PlayCaf(Input input);
void MetadataSource(Input input);  // whole files, for their metadata alone
void EditMetadata(Input input);    // whole files: tags changed, then read again
void CheckAndRepair(Input input);  // whole files, by the tool's own room for it

// The body of one metadata chunk: read; built again and read once more.
void ReadBextBody(Input input);
void ReadCartBody(Input input);
void ReadInfoBody(Input input);
void ReadAxmlBody(Input input);
void ReadAcidBody(Input input);
void ReadIxmlBody(Input input);
void ReadXmpBody(Input input);
void ReadId3Body(Input input);
void ReadCafInfoBody(Input input);

// The body of one metadata chunk and a change of some keys in it.
void PatchBextBody(Input input);
void PatchCartBody(Input input);
void PatchInfoBody(Input input);
void PatchAcidBody(Input input);
void PatchIxmlBody(Input input);
void PatchXmpBody(Input input);
void PatchId3Body(Input input);

void ParseXml(Input input);
void DecodeAdpcm(Input input);
void ReadSavedState(Input input);

struct Target {
    std::string_view name;  // of its folder in corpus/ and crashes/
    void (*run)(Input input);
};

inline constexpr std::array targets = {
    Target{"play_riff", PlayRiff},
    Target{"play_wave64", PlayWave64},
    Target{"play_iff", PlayIff},
    Target{"play_caf", PlayCaf},
    Target{"metadata_source", MetadataSource},
    Target{"edit_metadata", EditMetadata},
    Target{"check_repair", CheckAndRepair},
    Target{"bext", ReadBextBody},
    Target{"cart", ReadCartBody},
    Target{"info", ReadInfoBody},
    Target{"axml", ReadAxmlBody},
    Target{"acid", ReadAcidBody},
    Target{"ixml", ReadIxmlBody},
    Target{"xmp", ReadXmpBody},
    Target{"id3", ReadId3Body},
    Target{"caf_info", ReadCafInfoBody},
    Target{"patch_bext", PatchBextBody},
    Target{"patch_cart", PatchCartBody},
    Target{"patch_info", PatchInfoBody},
    Target{"patch_acid", PatchAcidBody},
    Target{"patch_ixml", PatchIxmlBody},
    Target{"patch_xmp", PatchXmpBody},
    Target{"patch_id3", PatchId3Body},
    Target{"xml", ParseXml},
    Target{"adpcm", DecodeAdpcm},
    Target{"saved_state", ReadSavedState},
};

}  // namespace vantor::fuzz

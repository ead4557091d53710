// A change of ID3 entries as a tag of one version holds it: 2.2 has ids of three letters, and before 2.4 a
// date is spread over three frames.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "metadata/metadata_store.h"

namespace vantor {

// `own` is what the tag holds. An empty value stands for a key that goes.
//
// Date of a change    2.2 and 2.3                              2.4
// TDRC "2024-05-06T07:08"
//                     TYER 2024, TDAT 0605, TIME 0708          TDRC
//   with a TYER       the date of TDRC goes before             left out, unless the tag has one or is new
// TYER removed        TDAT and TIME go with it                 TYER
// A tag before 2.4 that has a TDRC of its own, against the standard, keeps it as in 2.4.
[[nodiscard]] MetadataStore Id3ChangeFor(int version, const MetadataStore& change, const MetadataStore& own);

struct Id3NewEntry {
    std::string_view base;  // the key without its running number
    uint64_t number = 1;
};
// A number counts frames of the key before it, when there is such a key (`has`) or none of its frames has a
// description that could end so.
[[nodiscard]] Id3NewEntry SplitId3Number(std::string_view key, const MetadataStore& has);

}  // namespace vantor

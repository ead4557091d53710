// What a properties window shows of a file. A copy: nothing here refers to the file or to its source, so both
// may change or go away while the window is open.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "metadata/read/id3_picture.h"

namespace vantor {

// A fact or a tag. All texts are UTF-8; a value may have several lines.
struct PropertyRow {
    std::string group;  // in the user's language: "Format", "Markers", "Broadcast Wave"
    std::string label;  // a fact's name in the user's language, a tag's whole key ("BWF:Description")
    std::string value;
    bool isTag = false;
};

struct FileProperties {
    std::string fileName;
    std::string status;  // why the file cannot be played, and then nothing else is told; else empty
    std::vector<PropertyRow> rows;
    std::vector<PictureDescriptor> pictures;
};

// Appends "label: value" and CRLF.
void AppendLine(std::string& text, std::string_view label, std::string_view value);
inline void AppendLine(std::string& text, const PropertyRow& row) {
    AppendLine(text, row.label, row.value);
}

// Adds a tag under its scheme's name and, when it describes a picture in the file, to the pictures.
void AddTag(FileProperties& properties, const std::string& key, const std::string& value);

// The name of a key's scheme in the user's language: "Broadcast Wave" for "BWF:Description"; what stands
// before the colon for a scheme without a name.
[[nodiscard]] std::string SchemeName(std::string_view key);

// What follows the last "/" or "\".
[[nodiscard]] std::string_view BaseName(std::string_view fileName);

}  // namespace vantor

// What stands on the slate of a take: scene, take, roll and the like, wherever recorders write them. iXML and
// ASWG come first, then the lines of a `bext` description ("sSCENE=12A", with any letter in front), in which
// recorders kept them before.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "wavehost/facts/source_facts.h"
#include "wavehost/values/timecode.h"

namespace vantor::wavehost {

enum class SlateField { project, roll, date, scene, take, note };

class Slate {
  public:
    // `metadata` must outlive the slate.
    explicit Slate(const Metadata& metadata);

    [[nodiscard]] std::string Value(SlateField field) const;  // empty: none
    [[nodiscard]] bool IsCircled() const;
    [[nodiscard]] const FrameRate* Rate() const;  // null: none

  private:
    [[nodiscard]] std::string Tag(std::string_view key) const;
    [[nodiscard]] std::string Line(std::string_view name) const;

    const Metadata& metadata_;
    std::map<std::string, std::string, std::less<>> lines_;  // of the description
};

}  // namespace vantor::wavehost

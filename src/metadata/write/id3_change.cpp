#include "metadata/write/id3_change.h"

#include <algorithm>
#include <initializer_list>

#include "metadata/read/id3_entries.h"
#include "metadata/write/id3_frame_ids.h"
#include "text/text.h"

namespace vantor {

namespace {

// "ID3:TT2:002" for "ID3:TIT2:002". The ids that the reader takes for their successors stay.
std::string KeyIn22(std::string_view key) {
    const auto [id, qualifier] = SplitId3Key(key);
    if (id == "TXXX" || id == "TCON" || id.size() != 4 || !id.starts_with('T')) return std::string(key);
    const auto old = FrameId22(id);
    if (old.empty()) return std::string(key);
    return std::string(id3Prefix).append(old).append(key.substr(id3Prefix.size() + id.size()));
}

// The digits of "yyyy-mm-ddThh:mm" at the places asked for; empty unless all are there.
std::string DigitsAt(std::string_view date, std::initializer_list<size_t> places) {
    std::string digits;
    for (const size_t place : places) {
        if (place >= date.size() || date[place] < '0' || date[place] > '9') return {};
        digits += date[place];
    }
    return digits;
}

class DateChange {
  public:
    DateChange(int version, const MetadataStore& own, MetadataStore& change)
        : version_(version), own_(own), change_(change) {}

    void Shape() {
        const std::string date(change_.Value("ID3:TDRC"));
        const bool hasYear = HasOwn("ID3:TYER");
        if (version_ == 4 || HasOwn("ID3:TDRC")) {
            const bool isNewTag = own_.Count() == 0;
            if (!date.empty() && !change_.Value("ID3:TYER").empty() && !hasYear && !isNewTag)
                change_.Remove("ID3:TYER");
        } else if (!date.empty()) {
            Spread(date);
        } else if (change_.Has("ID3:TYER") && change_.Value("ID3:TYER").empty()) {
            Spread({});
        }
    }

  private:
    [[nodiscard]] bool HasOwn(std::string_view key) const {
        return own_.Has(key) || (version_ == 2 && own_.Has(KeyIn22(key)));
    }
    void Set(std::string_view key, const std::string& value) {
        if (!value.empty() || HasOwn(key)) change_.Set(key, value);
    }
    // What is no date is a year, as it stands.
    void Spread(const std::string& date) {
        const auto year = DigitsAt(date, {0, 1, 2, 3});
        change_.Remove("ID3:TDRC");
        change_.Set("ID3:TYER", year.empty() ? date : year);
        Set("ID3:TDAT", year.empty() ? std::string() : DigitsAt(date, {8, 9, 5, 6}));
        Set("ID3:TIME", year.empty() ? std::string() : DigitsAt(date, {11, 12, 14, 15}));
    }

    int version_;
    const MetadataStore& own_;
    MetadataStore& change_;
};

}  // namespace

MetadataStore Id3ChangeFor(int version, const MetadataStore& change, const MetadataStore& own) {
    MetadataStore shaped;
    change.ForEach([&](const MetadataEntry& entry) { shaped.Set(entry.key, entry.value); });
    DateChange(version, own, shaped).Shape();
    if (version != 2) return shaped;
    MetadataStore old;
    shaped.ForEach([&](const MetadataEntry& entry) {
        const auto key = entry.key.starts_with(id3Prefix) ? KeyIn22(entry.key) : entry.key;
        if (!entry.value.empty() || !old.Has(key)) old.Set(key, entry.value);
    });
    return old;
}

Id3NewEntry SplitId3Number(std::string_view key, const MetadataStore& has) {
    const size_t colon = key.rfind(':');
    if (colon < id3Prefix.size() || !IsRunningNumber(key.substr(colon + 1))) return {key, 1};
    const std::string_view base = key.substr(0, colon), id = SplitId3Key(key).frameId;
    const bool isPlain = SplitId3Key(base).qualifier.empty() && id != "TXXX" && id != "WXXX" && id != "UFID";
    if (!isPlain && !has.Has(base)) return {key, 1};
    return {base, UnsignedDecimal(key.substr(colon + 1))};
}

}  // namespace vantor

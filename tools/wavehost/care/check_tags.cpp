// What the tags say: dates, times of day, and positions on the timeline.
#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>

#include "text/text.h"
#include "wavehost/care/examine.h"
#include "wavehost/care/position.h"
#include "wavehost/values/dates.h"
#include "wavehost/values/numbers.h"

namespace vantor::wavehost {

namespace {

struct DatedKey {
    std::string_view key;
    bool (*isRight)(std::string_view text);
    const char* form;
};
constexpr DatedKey datedKeys[] = {
    {"BWF:OriginationDate", IsBroadcastDate, "yyyy-mm-dd"},
    {"BWF:OriginationTime", IsBroadcastTime, "hh:mm:ss"},
    {"IXML:BEXT:BWF_ORIGINATION_DATE", IsBroadcastDate, "yyyy-mm-dd"},
    {"IXML:BEXT:BWF_ORIGINATION_TIME", IsBroadcastTime, "hh:mm:ss"},
    {"CART:StartDate", IsBroadcastDate, "yyyy-mm-dd"},
    {"CART:StartTime", IsBroadcastTime, "hh:mm:ss"},
    {"CART:EndDate", IsBroadcastDate, "yyyy-mm-dd"},
    {"CART:EndTime", IsBroadcastTime, "hh:mm:ss"},
    {"INFO:ICRD", IsIsoDate, "yyyy, yyyy-mm or yyyy-mm-dd"},
    {"ID3:TDRC", IsIsoDate, "yyyy to yyyy-mm-ddThh:mm:ss"},
    {"ID3:TDRL", IsIsoDate, "yyyy to yyyy-mm-ddThh:mm:ss"},
    {"ID3:TDOR", IsIsoDate, "yyyy to yyyy-mm-ddThh:mm:ss"},
    {"ID3:TYER", IsIsoDate, "yyyy"},
};

void CheckDates(Examination& e) {
    for (const DatedKey& dated : datedKeys) {
        const std::string_view text = e.survey.format.metadata.Value(dated.key);
        if (text.find_first_not_of(' ') == text.npos || dated.isRight(Trimmed(text))) continue;
        e.Add({FindingId::dateForm, "", 0,
               std::string(dated.key) + " \"" + Utf8OrLatin1(text) + "\" is not " + dated.form});
    }
}

void CheckPositions(Examination& e) {
    const auto places = PositionsOf(e.survey.format);
    for (size_t i = 1; i < places.size(); ++i) {
        const double apart = std::abs(places[i].seconds - places[0].seconds);
        if (apart <= std::max(places[i].tolerance, places[0].tolerance)) continue;
        e.Add({FindingId::positions, "", 0,
               std::string(places[0].source) + " says " + FixedText(places[0].seconds, 6) + " s, " +
                   places[i].source + " says " + FixedText(places[i].seconds, 6) + " s"});
    }
}

}  // namespace

std::vector<Check> TagChecks() {
    return {CheckDates, CheckPositions};
}

}  // namespace vantor::wavehost

#include "metadata/patch/xmp_markers_patch.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "metadata/patch/xmp_scope.h"
#include "metadata/read/xmp_packet.h"
#include "metadata/xmp_marker.h"
#include "text/text.h"

namespace vantor {

namespace {

using Path = std::vector<const XmlElement*>;

struct Marker {
    const XmlElement* item = nullptr;
    const XmlElement* owner = nullptr;  // of its fields: the item, or the description in it
    double rate = 0;
    XmpText start, duration, name;
    std::string text;  // as it is stored
};

// What a packet holds of markers.
struct Markers {
    std::vector<Marker> list;
    const XmlElement* sequence = nullptr;  // of the last track that has one
    double rate = 0;                       // of that track
    std::string fieldPrefix;               // that stands for Dynamic Media in it
    Path emptyTracks;                      // a property without any marker
};

std::string PrefixOf(std::string_view name) {
    return std::string(name.substr(0, std::min(name.find(':'), name.size())));
}

Marker MarkerAt(const XmpNode& item, double rate) {
    Marker marker{&item.Element(),          &item.Element(),        rate,
                  item.Field("startTime"),  item.Field("duration"), item.Field("name"),
                  XmpMarkerText(item, rate)};
    item.ForEachChild([&](const XmpNode& child) {
        if (child.Is(XmpSpace::Rdf, "Description")) marker.owner = &child.Element();
    });
    return marker;
}

void CollectTrack(const XmpNode& track, Markers& markers) {
    const double rate = XmpFrameRate(track.Field("frameRate").text);
    track.ForEachField([&](const XmpNode& field) {
        if (!field.Is(XmpSpace::DynamicMedia, "markers")) return;
        field.ForEachChild([&](const XmpNode& container) {
            if (!container.IsContainer()) return;
            markers.sequence = &container.Element();
            markers.rate = rate;
            markers.fieldPrefix = PrefixOf(field.Element().name);
        });
        field.ForEachItem([&](const XmpNode& item) {
            Marker marker = MarkerAt(item, rate);
            if (!marker.text.empty()) markers.list.push_back(std::move(marker));
        });
    });
}

Markers Collect(const XmlPatch& packet) {
    Markers markers;
    const XmpNode root(packet.Root());
    const auto inTracks = [&](const XmpNode& property) {
        if (!IsXmpTracks(property)) return;
        const size_t before = markers.list.size();
        property.ForEachItem([&](const XmpNode& track) { CollectTrack(track, markers); });
        if (markers.list.size() == before) markers.emptyTracks = property.Path();
    };
    const auto inRdf = [&](const XmpNode& node) {
        if (!node.Is(XmpSpace::Rdf, "RDF")) return;
        node.ForEachChild([&](const XmpNode& description) { description.ForEachChild(inTracks); });
    };
    inRdf(root);
    root.ForEachChild(inRdf);
    return markers;
}

// A time in units of the track; in marker units, and saying so, where those would not hit it.
std::string TimeText(double time, double rate) {
    const auto plain = FixedText(rate > 0 ? std::round(time * rate / xmpMarkerUnitsPerSecond) : time, 0);
    const bool hits = FixedText(XmpMarkerTime(plain, rate), 0) == FixedText(time, 0);
    return hits ? plain : FixedText(time, 0) + "f1000000";
}

void Put(XmlPatch& packet, const XmpText& place, std::string_view value) {
    if (place.attribute != nullptr)
        packet.SetAttribute(*place.attribute, XmlQuoted(value, true));
    else
        packet.SetValue(*place.element, XmlContent(value, true));
}

std::string Element(const std::string& name, std::string_view value) {
    return "<" + name + ">" + XmlContent(value, true) + "</" + name + ">";
}

// Fields that are not there yet stand behind the start time, and as it does.
void PutField(XmlPatch& packet, const Marker& marker, const XmpText& field, std::string_view local,
              std::string_view value) {
    const bool isThere = field.element != nullptr || field.attribute != nullptr;
    if (isThere && value.empty() && field.attribute != nullptr) {
        packet.Remove(*field.attribute);
    } else if (isThere && value.empty()) {
        packet.RemoveMarkup(*field.element);
    } else if (isThere) {
        Put(packet, field, value);
    } else if (marker.start.attribute != nullptr) {
        const auto name = PrefixOf(marker.start.attribute->name).append(":").append(local);
        packet.AddAttribute(*marker.owner, " " + name + "=\"" + XmlQuoted(value, true) + "\"");
    } else {
        const auto name = PrefixOf(marker.start.element->name).append(":").append(local);
        packet.AddBehind(*marker.start.element, Element(name, value));
    }
}

// Changes one field that differs. False when none does.
bool ChangeField(XmlPatch& packet, const Marker& marker, const XmpMarkerValue& wanted) {
    const double start = XmpMarkerTime(marker.start.text, marker.rate);
    const double duration = XmpMarkerTime(marker.duration.text, marker.rate);
    const double wantedDuration = std::round(wanted.end - start);
    if (FixedText(start, 0) != FixedText(wanted.start, 0)) {
        Put(packet, marker.start, TimeText(wanted.start, marker.rate));
    } else if (FixedText(start + duration, 0) != FixedText(wanted.end, 0)) {
        const auto text = wantedDuration > 0 ? TimeText(wantedDuration, marker.rate) : std::string();
        PutField(packet, marker, marker.duration, "duration", text);
    } else if (marker.name.text != wanted.name) {
        PutField(packet, marker, marker.name, "name", wanted.name);
    } else {
        return false;
    }
    return true;
}

bool Change(XmlPatch& packet, size_t index, const XmpMarkerValue& wanted) {
    constexpr int fields = 3;
    for (int i = 0; i <= fields; ++i) {
        if (!packet.Parse()) return false;
        const Markers markers = Collect(packet);
        if (index >= markers.list.size()) return false;
        if (!ChangeField(packet, markers.list[index], wanted)) return true;
    }
    return false;
}

bool Remove(XmlPatch& packet, size_t index) {
    if (!packet.Parse()) return false;
    const Markers markers = Collect(packet);
    if (index >= markers.list.size()) return true;
    packet.RemoveMarkup(*markers.list[index].item);
    if (!packet.Parse()) return false;
    const Path tracks = Collect(packet).emptyTracks;
    if (tracks.size() > 1 && packet.WasAdded(*tracks.back(), *tracks[tracks.size() - 2]))
        packet.Remove(tracks);
    return true;
}

// "rdf" and "xmpDM", or what stands for them.
std::string ItemMarkup(const XmpMarkerValue& marker, double rate, const std::string& rdf,
                       const std::string& dm) {
    std::string markup = "<" + rdf + ":li " + rdf + ":parseType=\"Resource\">";
    markup += Element(dm + ":startTime", TimeText(marker.start, rate));
    if (marker.end > marker.start)
        markup += Element(dm + ":duration", TimeText(marker.end - marker.start, rate));
    if (!marker.name.empty()) markup += Element(dm + ":name", marker.name);
    return markup + "</" + rdf + ":li>";
}

void AddTracks(XmlPatch& packet, const XmpNode& description, const XmpMarkerValue& marker) {
    const XmpScope scope(description);
    const std::string rdf(scope.Prefix(XmpSpace::Rdf)), dm(scope.Prefix(XmpSpace::DynamicMedia));
    const auto rate = FixedText(xmpMarkerUnitsPerSecond, 0);
    packet.AddChild(description.Element(),
                    "<" + dm + ":Tracks" + scope.Declarations(XmpSpace::DynamicMedia) + "><" + rdf +
                        ":Bag><" + rdf + ":li " + rdf + ":parseType=\"Resource\">" +
                        Element(dm + ":trackType", "Cue") + Element(dm + ":frameRate", "f" + rate) + "<" +
                        dm + ":markers><" + rdf + ":Seq>" +
                        ItemMarkup(marker, xmpMarkerUnitsPerSecond, rdf, dm) + "</" + rdf + ":Seq></" + dm +
                        ":markers></" + rdf + ":li></" + rdf + ":Bag></" + dm + ":Tracks>");
}

bool Add(XmlPatch& packet, const XmpMarkerValue& marker) {
    if (!packet.Parse()) return false;
    const Markers markers = Collect(packet);
    if (markers.sequence != nullptr) {
        const auto rdf = PrefixOf(markers.sequence->name);
        const auto item = ItemMarkup(marker, markers.rate, rdf, markers.fieldPrefix);
        const bool isBehind = !markers.list.empty() && markers.sequence->firstChild != nullptr;
        if (isBehind)
            packet.AddBehind(*markers.list.back().item, item);
        else
            packet.AddChild(*markers.sequence, item);
        return true;
    }
    bool isDone = false;
    const XmpNode root(packet.Root());
    const auto inRdf = [&](const XmpNode& node) {
        if (!node.Is(XmpSpace::Rdf, "RDF")) return;
        node.ForEachChild([&](const XmpNode& description) {
            if (isDone || !TakesXmpProperties(description)) return;
            AddTracks(packet, description, marker);
            isDone = true;
        });
    };
    inRdf(root);
    if (!isDone) root.ForEachChild(inRdf);
    return isDone;
}

}  // namespace

bool PatchXmpMarkers(XmlPatch& packet, const MetadataStore& change) {
    std::vector<int> removed;
    std::vector<XmpMarkerValue> added;
    if (!packet.Parse()) return false;
    const size_t count = Collect(packet).list.size();
    bool done = true;
    for (int number = 0; number < xmpMarkerLimit; ++number) {
        const auto* value = change.Get(XmpMarkerKey(number));
        if (value == nullptr) continue;
        const auto marker = ParseXmpMarker(*value);
        if (!marker)
            removed.push_back(number);
        else if (static_cast<size_t>(number) < count)
            done = done && Change(packet, static_cast<size_t>(number), *marker);
        else
            added.push_back(*marker);
    }
    for (auto number = removed.rbegin(); number != removed.rend(); ++number)
        done = done && Remove(packet, static_cast<size_t>(*number));
    for (const auto& marker : added)
        done = done && Add(packet, marker);
    return done;
}

}  // namespace vantor

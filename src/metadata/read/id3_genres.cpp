#include "metadata/read/id3_genres.h"

#include <array>
#include <cstddef>

#include "text/text.h"

namespace vantor {

namespace {

// 0 to 79 as ID3v1 has them, 80 to 191 as they are commonly accepted.
constexpr std::array<std::string_view, 192> genreNames = {"Blues",
                                                          "Classic Rock",
                                                          "Country",
                                                          "Dance",
                                                          "Disco",
                                                          "Funk",
                                                          "Grunge",
                                                          "Hip-Hop",
                                                          "Jazz",
                                                          "Metal",
                                                          "New Age",
                                                          "Oldies",
                                                          "Other",
                                                          "Pop",
                                                          "R&B",
                                                          "Rap",
                                                          "Reggae",
                                                          "Rock",
                                                          "Techno",
                                                          "Industrial",
                                                          "Alternative",
                                                          "Ska",
                                                          "Death Metal",
                                                          "Pranks",
                                                          "Soundtrack",
                                                          "Euro-Techno",
                                                          "Ambient",
                                                          "Trip-Hop",
                                                          "Vocal",
                                                          "Jazz+Funk",
                                                          "Fusion",
                                                          "Trance",
                                                          "Classical",
                                                          "Instrumental",
                                                          "Acid",
                                                          "House",
                                                          "Game",
                                                          "Sound Clip",
                                                          "Gospel",
                                                          "Noise",
                                                          "AlternRock",
                                                          "Bass",
                                                          "Soul",
                                                          "Punk",
                                                          "Space",
                                                          "Meditative",
                                                          "Instrumental Pop",
                                                          "Instrumental Rock",
                                                          "Ethnic",
                                                          "Gothic",
                                                          "Darkwave",
                                                          "Techno-Industrial",
                                                          "Electronic",
                                                          "Pop-Folk",
                                                          "Eurodance",
                                                          "Dream",
                                                          "Southern Rock",
                                                          "Comedy",
                                                          "Cult",
                                                          "Gangsta",
                                                          "Top 40",
                                                          "Christian Rap",
                                                          "Pop/Funk",
                                                          "Jungle",
                                                          "Native American",
                                                          "Cabaret",
                                                          "New Wave",
                                                          "Psychedelic",
                                                          "Rave",
                                                          "Showtunes",
                                                          "Trailer",
                                                          "Lo-Fi",
                                                          "Tribal",
                                                          "Acid Punk",
                                                          "Acid Jazz",
                                                          "Polka",
                                                          "Retro",
                                                          "Musical",
                                                          "Rock & Roll",
                                                          "Hard Rock",
                                                          "Folk",
                                                          "Folk-Rock",
                                                          "National Folk",
                                                          "Swing",
                                                          "Fast Fusion",
                                                          "Bebop",
                                                          "Latin",
                                                          "Revival",
                                                          "Celtic",
                                                          "Bluegrass",
                                                          "Avantgarde",
                                                          "Gothic Rock",
                                                          "Progressive Rock",
                                                          "Psychedelic Rock",
                                                          "Symphonic Rock",
                                                          "Slow Rock",
                                                          "Big Band",
                                                          "Chorus",
                                                          "Easy Listening",
                                                          "Acoustic",
                                                          "Humour",
                                                          "Speech",
                                                          "Chanson",
                                                          "Opera",
                                                          "Chamber Music",
                                                          "Sonata",
                                                          "Symphony",
                                                          "Booty Bass",
                                                          "Primus",
                                                          "Porn Groove",
                                                          "Satire",
                                                          "Slow Jam",
                                                          "Club",
                                                          "Tango",
                                                          "Samba",
                                                          "Folklore",
                                                          "Ballad",
                                                          "Power Ballad",
                                                          "Rhythmic Soul",
                                                          "Freestyle",
                                                          "Duet",
                                                          "Punk Rock",
                                                          "Drum Solo",
                                                          "A Cappella",
                                                          "Euro-House",
                                                          "Dance Hall",
                                                          "Goa",
                                                          "Drum & Bass",
                                                          "Club-House",
                                                          "Hardcore",
                                                          "Terror",
                                                          "Indie",
                                                          "BritPop",
                                                          "Afro-Punk",
                                                          "Polsk Punk",
                                                          "Beat",
                                                          "Christian Gangsta Rap",
                                                          "Heavy Metal",
                                                          "Black Metal",
                                                          "Crossover",
                                                          "Contemporary Christian",
                                                          "Christian Rock",
                                                          "Merengue",
                                                          "Salsa",
                                                          "Thrash Metal",
                                                          "Anime",
                                                          "JPop",
                                                          "Synthpop",
                                                          "Abstract",
                                                          "Art Rock",
                                                          "Baroque",
                                                          "Bhangra",
                                                          "Big Beat",
                                                          "Breakbeat",
                                                          "Chillout",
                                                          "Downtempo",
                                                          "Dub",
                                                          "EBM",
                                                          "Eclectic",
                                                          "Electro",
                                                          "Electroclash",
                                                          "Emo",
                                                          "Experimental",
                                                          "Garage",
                                                          "Global",
                                                          "IDM",
                                                          "Illbient",
                                                          "Industro-Goth",
                                                          "Jam Band",
                                                          "Krautrock",
                                                          "Leftfield",
                                                          "Lounge",
                                                          "Math Rock",
                                                          "New Romantic",
                                                          "Nu-Breakz",
                                                          "Post-Punk",
                                                          "Post-Rock",
                                                          "Psytrance",
                                                          "Shoegaze",
                                                          "Space Rock",
                                                          "Trop Rock",
                                                          "World Music",
                                                          "Neoclassical",
                                                          "Audiobook",
                                                          "Audio Theatre",
                                                          "Neue Deutsche Welle",
                                                          "Podcast",
                                                          "Indie Rock",
                                                          "G-Funk",
                                                          "Dubstep",
                                                          "Garage Rock",
                                                          "Psybient"};

void AppendName(std::string& names, std::string_view name) {
    if (!names.empty()) names += "; ";
    names += name;
}

}  // namespace

std::string_view GenreOfReference(std::string_view reference) {
    if (reference == "RX") return "Remix";
    if (reference == "CR") return "Cover";
    if (reference.empty() || reference.size() > 3) return {};
    size_t number = 0;
    for (const char digit : reference) {
        if (digit < '0' || digit > '9') return {};
        number = number * 10 + static_cast<size_t>(digit - '0');
    }
    return number < genreNames.size() ? genreNames[number] : std::string_view{};
}

std::string GenreNames(std::string_view contentType) {
    if (const std::string_view name = GenreOfReference(contentType); !name.empty()) return std::string(name);
    std::string names;
    std::string_view last;
    while (contentType.starts_with('(')) {
        const size_t end = contentType.find(')');
        if (end == std::string_view::npos) break;
        const std::string_view name = GenreOfReference(contentType.substr(1, end - 1));
        if (name.empty()) break;
        AppendName(names, name);
        last = name;
        contentType.remove_prefix(end + 1);
    }
    if (contentType.starts_with("((")) contentType.remove_prefix(1);
    if (!contentType.empty() && !EqualIgnoringCase(contentType, last)) AppendName(names, contentType);
    return names;
}

std::string ContentTypeOfNames(std::string_view names) {
    std::string contentType(names.starts_with('(') ? 1 : 0, '(');
    return contentType.append(names);
}

}  // namespace vantor

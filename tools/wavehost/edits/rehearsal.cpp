#include "wavehost/edits/rehearsal.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <random>

#include "wavehost/os/failure.h"

namespace vantor::wavehost {

namespace {

constexpr uintmax_t largestWholeCopy = 64 << 20;

fs::path NewFolder() {
    std::random_device random;
    char name[40];
    std::snprintf(name, sizeof name, "wavehost-%08x%08x", random(), random());
    const fs::path folder = fs::temp_directory_path() / name;
    const PrivateFiles privately(true);
    if (!fs::create_directory(folder)) throw Failure("no folder for a rehearsal can be made");
    return folder;
}

void CopyPart(std::ifstream& from, std::ofstream& to, uintmax_t position, uintmax_t bytes) {
    std::vector<char> buffer(1 << 20);
    from.seekg(static_cast<std::streamoff>(position));
    to.seekp(static_cast<std::streamoff>(position));
    while (bytes > 0 && from && to) {
        const auto piece = static_cast<std::streamsize>(std::min<uintmax_t>(bytes, buffer.size()));
        from.read(buffer.data(), piece);
        to.write(buffer.data(), from.gcount());
        bytes -= static_cast<uintmax_t>(piece);
    }
}

uint64_t LittleEndian(const unsigned char* bytes, int width) {
    uint64_t number = 0;
    for (int i = width; i-- > 0;)
        number = number << 8 | bytes[i];
    return number;
}

struct Span {
    uintmax_t start;
    uintmax_t end;
};

// The body of the first `data` chunk, which the sizes in the file lead to; nothing when they lead nowhere.
Span AudioOf(std::ifstream& file, uintmax_t fileBytes) {
    constexpr uint64_t headerBytes = 8, fourGiB = uint64_t{1} << 32, allOnes = fourGiB - 1;
    bool formatSeen = false;
    std::optional<uint64_t> ds64DataBytes;
    unsigned char header[headerBytes + 16];  // and the two sizes at the start of ds64
    for (uintmax_t position = 12; position < fileBytes && fileBytes - position > sizeof header;) {
        file.seekg(static_cast<std::streamoff>(position));
        if (!file.read(reinterpret_cast<char*>(header), sizeof header)) break;
        const std::string_view id(reinterpret_cast<const char*>(header), 4);
        const uint64_t size = LittleEndian(header + 4, 4);
        const uintmax_t body = position + headerBytes, left = fileBytes - body;
        if (id == "data") {
            uint64_t audio = size == allOnes ? ds64DataBytes.value_or(size) : size;
            if (size == 0 && formatSeen) audio = left;                        // a recording never finished
            if (!ds64DataBytes && left >= fourGiB) audio += left & ~allOnes;  // a size that wrapped
            return {body, body + std::min<uintmax_t>(audio, left)};
        }
        if (id == "fmt ") formatSeen = true;
        if (id == "ds64") ds64DataBytes = LittleEndian(header + headerBytes + 8, 8);
        position = body + size + size % 2;
    }
    return {fileBytes, fileBytes};
}

// All of `file` but its audio in `copy`, which has its size.
void CopyAroundAudio(const fs::path& file, const fs::path& copy, uintmax_t fileBytes) {
    std::ifstream from(file, std::ios::binary);
    const Span audio = AudioOf(from, fileBytes);
    from.clear();
    std::ofstream(copy, std::ios::binary).close();
    AllowHoles(copy);
    fs::resize_file(copy, fileBytes);
    std::ofstream to(copy, std::ios::binary | std::ios::in | std::ios::out);
    CopyPart(from, to, 0, audio.start);
    CopyPart(from, to, audio.end, fileBytes - audio.end);
    if (!from || !to.flush()) throw Failure("cannot be copied for a rehearsal");
}

}  // namespace

bool TakesMetadata(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    char header[12] = {};
    stream.read(header, sizeof header);
    const std::string_view id(header, 4), form(header + 8, 4);
    return (id == "RIFF" || id == "RF64" || id == "BW64") && form == "WAVE";
}

Rehearsal::Rehearsal(const fs::path& file) : folder_(NewFolder()), extension_(TextOf(file.extension())) {
    const uintmax_t bytes = fs::file_size(file);
    whole_ = bytes <= largestWholeCopy;
    if (whole_)
        fs::copy_file(file, Copy());
    else
        CopyAroundAudio(file, Copy(), bytes);
    fs::permissions(Copy(), fs::perms::owner_read | fs::perms::owner_write, fs::perm_options::add);
}

Rehearsal::~Rehearsal() {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
}

fs::path Rehearsal::Target() const {
    return whole_ ? folder_ / ("rewritten" + extension_) : folder_ / "none" / "rewritten";
}

Outcome Rehearsal::Result(Outcome answered) const {
    return answered == Outcome::failed && !whole_ ? Outcome::copied : answered;
}

}  // namespace vantor::wavehost

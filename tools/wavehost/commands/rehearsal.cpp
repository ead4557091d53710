#include "commands/rehearsal.h"

#include <fstream>
#include <random>

#include "failure.h"

namespace vantor::wavehost {

namespace {

constexpr uintmax_t largestWholeCopy = 64 << 20;
constexpr uintmax_t keptAtEitherEnd = 16 << 20;

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

// The ends of `file` in `copy`, which has its size.
void CopyEnds(const fs::path& file, const fs::path& copy, uintmax_t fileBytes) {
    std::ifstream from(file, std::ios::binary);
    std::ofstream(copy, std::ios::binary).close();
    AllowHoles(copy);
    fs::resize_file(copy, fileBytes);
    std::ofstream to(copy, std::ios::binary | std::ios::in | std::ios::out);
    CopyPart(from, to, 0, keptAtEitherEnd);
    CopyPart(from, to, fileBytes - keptAtEitherEnd, keptAtEitherEnd);
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

Rehearsal::Rehearsal(const fs::path& file)
    : folder_(NewFolder()), extension_(TextOf(file.extension())), takesMetadata_(TakesMetadata(file)) {
    const uintmax_t bytes = fs::file_size(file);
    whole_ = bytes <= largestWholeCopy;
    if (whole_)
        fs::copy_file(file, Copy());
    else
        CopyEnds(file, Copy(), bytes);
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
    return answered == Outcome::failed && !whole_ && takesMetadata_ ? Outcome::copied : answered;
}

}  // namespace vantor::wavehost

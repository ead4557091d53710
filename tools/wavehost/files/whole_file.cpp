#include "wavehost/files/whole_file.h"

#include <cstdio>

#include "wavehost/os/failure.h"
#include "wavehost/os/folder.h"

namespace vantor::wavehost {

namespace {

std::string ReadStream(std::FILE* stream, const std::string& name) {
    std::string bytes;
    char piece[1 << 16];
    for (size_t got; (got = std::fread(piece, 1, sizeof piece, stream)) > 0;)
        bytes.append(piece, got);
    if (std::ferror(stream)) throw Failure(name + " cannot be read");
    return bytes;
}

}  // namespace

std::string ReadWhole(const std::string& name) {
    if (name == "-") {
        MakeBinary(stdin);
        return ReadStream(stdin, "standard input");
    }
    const std::string obstacle = WhyUnreadable(PathOf(name));
    if (!obstacle.empty()) throw Failure(name + " cannot be read: " + obstacle);
    const Stream stream(OpenStream(PathOf(name), "rb"));
    if (!stream) throw Failure(name + " cannot be opened");
    return ReadStream(stream.get(), name);
}

}  // namespace vantor::wavehost

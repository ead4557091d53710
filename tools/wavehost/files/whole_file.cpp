#include "wavehost/files/whole_file.h"

#include "wavehost/files/output_file.h"
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

void WriteStream(std::FILE* stream, const std::string& name, const std::string& bytes) {
    const bool wrote = std::fwrite(bytes.data(), 1, bytes.size(), stream) == bytes.size();
    if (!wrote || std::fflush(stream) != 0) throw Failure(name + " cannot be written");
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

void WriteWhole(const std::string& name, const std::string& bytes) {
    if (name == "-") return WriteStream(stdout, "standard output", bytes);
    OutputFile output(PathOf(name));
    Stream stream(OpenStream(output.WriteTo(), "wb"));
    if (!stream) throw Failure(name + " cannot be created: " + LastReason());
    WriteStream(stream.get(), name, bytes);
    stream.reset();
    output.TakePlace();
}

}  // namespace vantor::wavehost

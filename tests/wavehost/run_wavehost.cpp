#include "tests/wavehost/run_wavehost.h"

#include <cstdlib>

#if !defined(_WIN32)
#include <sys/wait.h>
#endif

#include "tests/support/tree.h"

namespace vantor::test {

namespace {

#if defined(_WIN32)
constexpr const char* executable = "/wavehost.exe";
// The shell takes the outermost quotes away.
int Shell(const std::string& command) {
    return std::system(('"' + command + '"').c_str());
}
std::string Quoted(const std::string& argument) {
    const size_t end = argument.find_last_not_of('\\') + 1;  // backslashes before a quote count double
    return '"' + argument + argument.substr(end) + '"';
}
#else
constexpr const char* executable = "/wavehost";
int Shell(const std::string& command) {
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
std::string Quoted(const std::string& argument) {
    std::string quoted = "'";
    for (const char c : argument)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}
#endif

std::string TextOfFile(const std::string& path) {
    const Bytes bytes = ReadWholeFile(path);
    return {bytes.begin(), bytes.end()};
}

}  // namespace

HostRun RunWavehost(const std::vector<std::string>& arguments, const std::string& before) {
    const TempFolder folder;
    std::filesystem::path program(BuildTree() + executable);
    std::string command =
        (before.empty() ? before : before + " ") + Quoted(program.make_preferred().string());
    for (const std::string& argument : arguments)
        command += " " + Quoted(argument);
    const std::string out = folder.Path("out"), err = folder.Path("err");
    const int exitCode = Shell(command + " >" + Quoted(out) + " 2>" + Quoted(err));
    return {exitCode, TextOfFile(out), TextOfFile(err)};
}

int16_t PatternSample(int64_t frame, int channel) {
    return static_cast<int16_t>((frame * 7919 + channel * 12007) % 65536 - 32768);
}

Bytes PatternWav(int frames, int channels, const Bytes& chunks) {
    ByteWriter data;
    for (int frame = 0; frame < frames; ++frame)
        for (int channel = 0; channel < channels; ++channel)
            data.Le16(static_cast<uint16_t>(PatternSample(frame, channel)));
    return RiffFile(ByteWriter()
                        .Chunk("fmt ", FmtBody(1, static_cast<uint16_t>(channels), 48000, 16))
                        .Chunk("data", data)
                        .Add(chunks));
}

Bytes InfoChunk(std::string_view id, std::string_view text) {
    const ByteWriter item = ByteWriter().Text("INFO").Chunk(id, ByteWriter().Text(text).U8(0));
    return ByteWriter().Chunk("LIST", item);
}

}  // namespace vantor::test

// Files as other programs write them, finished and killed, and what check and repair make of them.
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <random>
#include <thread>

#include "tests/interop/independent_tools.h"
#include "wavehost/care/examine.h"
#include "wavehost/care/repair.h"

namespace vantor::test {
namespace {

namespace fs = std::filesystem;
using namespace wavehost;

std::string NamesOf(const std::string& path) {
    std::string names;
    for (const Finding& finding : ExamineFile(path))
        names.append(KindOf(finding.id).name).append(" ");
    return names;
}

// What the module does not read is no matter of the checks.
void ExpectSound(const std::string& path, const std::string& what, const std::string& known = "") {
    const std::string names = NamesOf(path);
    if (names.find("unreadable") != names.npos) return;
    EXPECT_EQ(names, known) << what << (names.empty() ? "" : ": " + ExamineFile(path)[0].text);
}

// What is wrong indeed: the library puts a pad byte into CAF, which has none, leaves it out at the end of
// 8SVX, and counts some 2^63 frames of MS ADPCM in Wave64.
std::string KnownFault(int container, int coding, int channels) {
    const bool isOdd = channels == 1 && (coding == SF_FORMAT_PCM_S8 || coding == SF_FORMAT_PCM_24);
    if (coding == SF_FORMAT_MS_ADPCM && container == SF_FORMAT_W64) return "fact ";
    if (container == SF_FORMAT_CAF && isOdd) return "trailing-bytes ";
    return container == SF_FORMAT_SVX && isOdd ? "pad-byte " : "";
}

TEST(CareInterop, NothingIsWrongWithWhatLibsndfileWrites) {
    const TempFolder folder;
    int written = 0;
    for (const int container : {SF_FORMAT_WAV, SF_FORMAT_WAVEX, SF_FORMAT_RF64, SF_FORMAT_W64, SF_FORMAT_AIFF,
                                SF_FORMAT_CAF, SF_FORMAT_SVX})
        for (int coding = SF_FORMAT_PCM_S8; coding <= SF_FORMAT_ALAC_32; ++coding)
            for (const int order : {SF_ENDIAN_FILE, SF_ENDIAN_LITTLE, SF_ENDIAN_BIG})
                for (const int channels : {1, 2, 6}) {
                    SF_INFO info{0, 44100, channels, container | coding | order, 0, 0};
                    if (!sf_format_check(&info)) continue;
                    const std::string path = folder.Path("take");
                    const auto what = std::to_string(container >> 16) + " " + std::to_string(coding);
                    {
                        const auto file = OpenWithLibsndfile(path, SFM_WRITE, info);
                        if (!file) continue;
                        sf_set_string(file.get(), SF_STR_TITLE, "Take 1");
                        const std::vector<double> samples(static_cast<size_t>(1001 * channels), 0.25);
                        sf_writef_double(file.get(), samples.data(), 1001);
                    }
                    ++written;
                    ExpectSound(path, what, KnownFault(container, coding, channels));
                }
    EXPECT_GT(written, 150);
}

TEST(CareInterop, NothingIsWrongWithWhatFfmpegAndSoxWrite) {
    const TempFolder folder;
    const std::string source = folder.Path("source.wav");
    Generate(source, "sox -n -r 44100 -c 2 -b 24 -t wav %s synth 0.1111 sine 440 sine 550 gain -3");
    std::string script;
    const std::string ffmpeg = "ffmpeg -v error -y -i '" + source + "' -metadata title=T ";
    for (const char* coding : {"pcm_u8", "pcm_s16le", "pcm_s24le", "pcm_f32le", "pcm_f64le", "adpcm_ima_wav",
                               "adpcm_ms", "pcm_mulaw"})
        for (const char* container :
             {"wav", "w64", "caf", "wav -rf64 always", "wav -write_bext 1 -rf64 auto"})
            script += ffmpeg + "-c:a " + coding + " -f " + container + " %d/" +
                      std::to_string(script.size()) + "; ";
    for (const char* coding : {"pcm_s8", "pcm_s16be", "pcm_s24be", "pcm_s32be", "pcm_f32be", "pcm_f64be"})
        for (const char* container : {"aiff -write_id3v2 1", "caf"})
            script += ffmpeg + "-c:a " + coding + " -f " + container + " %d/" +
                      std::to_string(script.size()) + "; ";
    for (const char* container : {"wav", "aiff", "aifc", "w64", "caf"})
        for (const char* coding : {"8", "16", "24", "32", "32 -e floating-point", "64 -e floating-point",
                                   "4 -e ms-adpcm", "4 -e ima-adpcm", "8 -e mu-law"})
            script += "sox '" + source + "' -b " + coding + " -t " + container + " %d/" +
                      std::to_string(script.size()) + "; ";
    for (size_t place; (place = script.find("%d")) != script.npos;)
        script.replace(place, 2, "'" + folder.Path("") + "'");
    (void)std::system(("{ " + script + "} >/dev/null 2>&1 </dev/null").c_str());
    int written = 0;
    for (const auto& entry : fs::directory_iterator(folder.Path(""))) {
        if (entry.file_size() == 0) continue;
        ++written;
        // SoX writes Wave64 through the library that halves the count.
        if (NamesOf(entry.path().string()) != "fact ")
            ExpectSound(entry.path().string(), entry.path().string());
    }
    EXPECT_GT(written, 80);
}

// Killed while they write: afterwards all that is in the file plays, everywhere, with the same samples.
TEST(CareInterop, WhatFfmpegAndSoxLeaveWhenKilledBecomesWhole) {
    const TempFolder folder;
    const std::string tone = "ffmpeg -v error -y -re -f lavfi -i sine=sample_rate=96000 -ac 6 ";
    const std::pair<const char*, std::string> writers[] = {
        {"a.wav", tone + "-f wav"},
        {"b.wav", tone + "-rf64 always -f wav"},
        {"c.wav", tone + "-rf64 auto -write_bext 1 -f wav"},
        {"d.aif", tone + "-c:a pcm_s16be -f aiff"},
        {"e.caf", tone + "-c:a pcm_s16le -f caf"},
        {"f.w64", tone + "-f w64"},
        {"g.wav", "sox -q -n -r 48000 -c 2 -b 16 -t wav"},
        {"h.aif", "sox -q -n -r 48000 -c 2 -b 16 -t aiff"},
        {"i.caf", "sox -q -n -r 48000 -c 2 -b 16 -t caf"},
        {"j.w64", "sox -q -n -r 48000 -c 2 -b 16 -t w64"},
    };
    std::string script;
    for (const auto& [name, command] : writers) {
        const bool isSox = command.starts_with("sox");
        // SoX writes as fast as it can: a limit of the file's size kills it.
        script +=
            isSox ? "(ulimit -f 2000; " + command + " '" + folder.Path(name) + "' synth 100000 sine 440) & "
                  : "timeout -s KILL 3 " + command + " '" + folder.Path(name) + "' & ";
    }
    (void)std::system(("bash -c \"" + script + " wait\" >/dev/null 2>&1 </dev/null").c_str());
    for (const auto& [name, command] : writers) {
        SCOPED_TRACE(command);
        const std::string path = folder.Path(name);
        ASSERT_GT(fs::file_size(path), 4096u);
        // Who is killed closes its files in its own time.
        for (int i = 0; i < 250 && NamesOf(path) == "being-written "; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_NE(NamesOf(path).find("unfinished "), std::string::npos) << NamesOf(path);
        (void)RepairFile(path, {});
        const std::string left = NamesOf(path);
        EXPECT_TRUE(left.empty() || left == "partial-frame ") << left;
        const auto ours = DecodeByModule(path), theirs = DecodeByLibsndfile(path);
        EXPECT_GT(ours.samples.size(), 2000u);
        EXPECT_EQ(ours.samples, theirs.samples);
        const std::string frames = std::to_string(ours.samples.size() / static_cast<size_t>(ours.channels));
        const std::string raw = folder.Path("raw");
        Generate(raw, "ffmpeg -v error -y -i '" + path + "' -f s16le %s");
        EXPECT_EQ(fs::file_size(raw), 2 * ours.samples.size());
        EXPECT_EQ(std::system(("test \"$(soxi -s '" + path + "')\" = " + frames).c_str()), 0);
    }
}

}  // namespace
}  // namespace vantor::test

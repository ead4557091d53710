// The commands: one function each, which returns the exit status.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "wavehost/files/wav_writer.h"
#include "wavehost/host/module_loader.h"

namespace vantor::wavehost {

inline constexpr int exitDone = 0;
inline constexpr int exitFailed = 1;
inline constexpr int exitUsage = 2;

struct InfoOptions {
    std::vector<std::string> files;
    bool json = false;
    bool stats = false;
};
int RunInfo(const Module& module, const InfoOptions& options);

struct RenderOptions {
    std::string file;
    std::string output;  // "-": standard output
    double startSeconds = 0;
    std::optional<double> lengthSeconds;
    std::optional<double> sampleRate;
    std::optional<int32_t> channels;
    std::optional<int32_t> blockFrames;
    SampleFormat format = SampleFormat::f64;
    bool raw = false;
    bool stats = false;
};
int RunRender(const Module& module, const RenderOptions& options);

struct FileOptions {
    std::string file;
    bool json = false;
};
int RunMarkers(const Module& module, const FileOptions& options);
int RunSlices(const Module& module, const FileOptions& options);
int RunMetaList(const Module& module, const FileOptions& options);
int RunMetaGet(const Module& module, const std::string& file, const std::string& key);

struct MetaSetOptions {
    std::string file;
    std::vector<std::string> assignments;  // KEY=VALUE
    std::string output;                    // empty: the file itself
    bool replaceAll = false;
    bool dryRun = false;
};
int RunMetaSet(const Module& module, const MetaSetOptions& options);

struct PeaksOptions {
    std::string file;
    std::string png;
    int32_t width = 1200;
    int32_t height = 400;
    double startSeconds = 0;
    std::optional<double> lengthSeconds;
};
int RunPeaks(const Module& module, const PeaksOptions& options);

struct StateOptions {
    std::string file;
    std::string output;  // empty: standard output
    std::optional<int32_t> slice;
};
int RunState(const Module& module, const StateOptions& options);
int RunRestore(const Module& module, const FileOptions& options);

struct ScanOptions {
    std::string folder;
    bool json = false;
};
int RunScan(const Module& module, const ScanOptions& options);

}  // namespace vantor::wavehost

#include <algorithm>
#include <cmath>

#include "wavehost/commands/command_line.h"
#include "wavehost/facts/report.h"
#include "wavehost/files/output_file.h"
#include "wavehost/files/progress.h"
#include "wavehost/host/host_services.h"
#include "wavehost/os/failure.h"
#include "wavehost/os/interruption.h"
#include "wavehost/picture/picture.h"

namespace vantor::wavehost {

namespace {

struct PeaksOptions {
    std::string file;
    std::string png;
    int32_t width = 1200;
    int32_t height = 400;
    double startSeconds = 0;
    std::optional<double> lengthSeconds;
};

void BuildPeaks(PCM_source& source, const std::string& file, bool quiet) {
    if (source.BeginPeakBuild(0) != 1) return;
    Progress progress("peaks of " + file, quiet);
    while (source.RunPeakBuild() != 0 && InterruptionStatus() == 0)
        progress.Show(Host().peakBuildFraction);
    source.FinishPeakBuild();
    CheckInterruption();
}

void ReadPeaks(PCM_source& source, Picture& picture) {
    PeakRequest request{};
    request.startSeconds = picture.startSeconds;
    request.channels = picture.channels;
    request.frames = picture.layout.PlotWidth();
    request.peaksPerSecond = request.frames / picture.lengthSeconds;
    picture.peaks.resize(2 * static_cast<size_t>(request.frames) * static_cast<size_t>(request.channels));
    request.peaks = picture.peaks.data();
    source.ReadPeaks(&request);
    picture.columns = std::clamp(request.framesProduced, 0, request.frames);
}

std::string Title(PCM_source& source, const PeaksOptions& options, int32_t lanes) {
    std::string title = TextOf(PathOf(options.file).filename()) + "   " + NumberText(source.SampleRate()) +
                        " Hz, " + std::to_string(source.BitDepth()) + " bits, " +
                        TimeText(source.LengthSeconds());
    const int32_t channels = source.ChannelCount();
    if (lanes < channels)
        title += ", first " + std::to_string(lanes) + " of " + std::to_string(channels) + " channels";
    return title;
}

int DrawPeaks(Session& session, const PeaksOptions& options) {
    if (!CanDraw()) throw Failure("this build cannot draw");
    const HostPtr<PCM_source> source = OpenSource(ModuleOf(session), options.file);
    if (IsSameFile(PathOf(options.file), PathOf(options.png))) throw Failure("cannot be drawn onto itself");
    const double left = source->LengthSeconds() - options.startSeconds;
    if (!(left > 0)) throw Failure("has no audio there");

    Picture picture{};
    picture.layout = {options.width, options.height};
    picture.channels = std::min(source->ChannelCount(), picture.layout.MostLanes());
    picture.title = Title(*source.Get(), options, picture.channels);
    picture.startSeconds = options.startSeconds;
    picture.lengthSeconds = std::min(options.lengthSeconds.value_or(left), left);
    picture.markers = MarkersOf(*source.Get());
    picture.slices = SlicesOf(*source.Get());
    BuildPeaks(*source.Get(), options.file, session.quiet);
    ReadPeaks(*source.Get(), picture);
    return ForFile(options.png, [&] {
        DrawPicture(picture, options.png);
        return exitDone;
    });
}

int RunPeaks(Session& session, const PeaksOptions& options) {
    return ForFile(options.file, [&] { return DrawPeaks(session, options); });
}

}  // namespace

void AddPeaks(CommandLine& line) {
    auto [command, options] =
        AddCommand(line, line.app, "peaks", "Draw the waveform as a PNG picture", &RunPeaks);
    command->add_option("FILE", options->file, fileHelp)->required();
    command->add_option("--png", options->png, "The picture to write")->required();
    command->add_option("--width", options->width, "Pixels")->check(CLI::Range(100, 32000));
    command->add_option("--height", options->height, "Pixels")->check(CLI::Range(60, 32000));
    command->add_option("--start", options->startSeconds, "Seconds into the file")
        ->check(Between(0, mostSeconds));
    command->add_option("--length", options->lengthSeconds, "Seconds to draw")
        ->check(Between(1e-6, mostSeconds));
}

}  // namespace vantor::wavehost

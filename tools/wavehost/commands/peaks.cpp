#include <algorithm>
#include <cmath>

#include "wavehost/commands/commands.h"
#include "wavehost/facts/report.h"
#include "wavehost/files/progress.h"
#include "wavehost/host/host_services.h"
#include "wavehost/os/failure.h"
#include "wavehost/picture/picture.h"

namespace vantor::wavehost {

namespace {

void BuildPeaks(PCM_source& source, const std::string& file) {
    if (source.BeginPeakBuild(0) != 1) return;
    Progress progress("peaks of " + file);
    while (source.RunPeakBuild() != 0)
        progress.Show(Host().peakBuildFraction);
    source.FinishPeakBuild();
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

int DrawPeaks(const Module& module, const PeaksOptions& options) {
    if (!CanDraw()) throw Failure("this build cannot draw");
    const HostPtr<PCM_source> source = OpenSource(module, options.file);
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
    BuildPeaks(*source.Get(), options.file);
    ReadPeaks(*source.Get(), picture);
    return ForFile(options.png, [&] {
        DrawPicture(picture, options.png);
        return exitDone;
    });
}

}  // namespace

int RunPeaks(const Module& module, const PeaksOptions& options) {
    return ForFile(options.file, [&] { return DrawPeaks(module, options); });
}

}  // namespace vantor::wavehost

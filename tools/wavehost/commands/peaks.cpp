#include <algorithm>
#include <cmath>

#include "wavehost/commands/command_line.h"
#include "wavehost/commands/write_result.h"
#include "wavehost/facts/messages.h"
#include "wavehost/files/output_file.h"
#include "wavehost/files/progress.h"
#include "wavehost/host/host_services.h"
#include "wavehost/os/failure.h"
#include "wavehost/os/interruption.h"
#include "wavehost/picture/picture.h"
#include "wavehost/tables/placement.h"

namespace vantor::wavehost {

namespace {

struct PeaksOptions {
    std::string file;
    std::string png;
    int32_t width = 1200;
    std::optional<int32_t> height;
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

PicturePeaks ReadPeaks(PCM_source& source, const ShownTime& time, const PictureLayout& layout) {
    PicturePeaks peaks;
    PeakRequest request{};
    request.startSeconds = time.startSeconds;
    request.channels = layout.lanes;
    request.frames = layout.plotWidth;
    request.peaksPerSecond = request.frames / time.lengthSeconds;
    peaks.pairs.resize(2 * static_cast<size_t>(request.frames) * static_cast<size_t>(request.channels));
    request.peaks = peaks.pairs.data();
    source.ReadPeaks(&request);
    peaks.columns = std::clamp(request.framesProduced, 0, request.frames);
    return peaks;
}

std::string Title(const SourceFacts& facts, const std::optional<Placement>& placement) {
    std::string title = TextOf(PathOf(facts.file).filename()) + "   " + NumberText(facts.sampleRate) +
                        " Hz, " + std::to_string(facts.bitDepth) + " bits, " + TimeText(facts.lengthSeconds);
    if (!placement) return title;
    title += ", at " + (placement->rate ? placement->timecode : placement->clock);
    return placement->rate ? title + " (" + placement->rate->name + ")" : title;
}

Picture MakePicture(const SourceFacts& facts, const PeaksOptions& options) {
    const double left = facts.lengthSeconds - options.startSeconds;
    if (!(left > 0)) throw Failure("ends at " + TimeText(facts.lengthSeconds) + "; there is no audio there");
    const auto placement = PlacementOf(facts.positionSeconds, facts.sampleRate, facts.metadata);
    Picture picture;
    picture.title = Title(facts, placement);
    picture.channelNames = ChannelNames(facts);
    picture.time = {options.startSeconds,
                    std::min(options.lengthSeconds.value_or(left), left),
                    facts.sampleRate,
                    {},
                    nullptr};
    if (placement) {
        picture.time.positionSamples = placement->samples;
        picture.time.frameRate = placement->rate;
    }
    picture.markers = facts.markers;
    picture.slices = facts.slices;
    return picture;
}

void NoteWhatIsLeftOut(const Session& session, const PeaksOptions& options, const Picture& picture,
                       const PictureLayout& layout) {
    const size_t channels = picture.channelNames.size();
    if (static_cast<size_t>(layout.lanes) < channels)
        ReportNote(session.quiet, options.file,
                   "the picture has room for the first " + std::to_string(layout.lanes) + " of " +
                       std::to_string(channels) + " channels");
    if (layout.namesLeftOut > 0)
        ReportNote(session.quiet, options.file,
                   "the picture has no room for " + std::to_string(layout.namesLeftOut) + " marker names");
}

int DrawPeaks(Session& session, const PeaksOptions& options) {
    const HostPtr<PCM_source> source = OpenSource(ModuleOf(session), options.file);
    if (options.png != "-" && IsSameFile(PathOf(options.file), PathOf(options.png)))
        throw Failure("cannot be drawn onto itself");
    const Picture picture = MakePicture(FactsOf(*source.Get(), options.file), options);
    const PictureLayout layout = LayOut(picture, options.width, options.height);
    NoteWhatIsLeftOut(session, options, picture, layout);
    BuildPeaks(*source.Get(), options.file, session.quiet);
    const PicturePeaks peaks = ReadPeaks(*source.Get(), picture.time, layout);
    return WriteResult(options.png, DrawPicture(picture, layout, peaks));
}

int RunPeaks(Session& session, const PeaksOptions& options) {
    return ForFile(options.file, [&] { return DrawPeaks(session, options); });
}

}  // namespace

void AddPeaks(CommandLine& line) {
    auto [command, options] =
        AddCommand(line, line.program, "peaks", "Draw the waveform as a PNG picture", &RunPeaks);
    AddOption(command, "FILE", &options->file, fileHelp, {.required = true});
    AddOption(command, "--png", &options->png, "The picture to write; - is standard output",
              {.required = true});
    AddOption(command, "--width", &options->width, "Pixels", {.within = Bounds{smallestWidth, largestSide}});
    AddOption(command, "--height", &options->height,
              "Pixels; by default as many as every channel and name need",
              {.within = Bounds{smallestHeight, largestSide}});
    AddOption(command, "--start", &options->startSeconds, "Seconds into the file", {.within = anyTime});
    AddOption(command, "--length", &options->lengthSeconds, "Seconds to draw",
              {.within = Bounds{1e-6, anyTime.most}});
}

}  // namespace vantor::wavehost

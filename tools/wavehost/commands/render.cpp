#include <algorithm>
#include <chrono>
#include <cmath>
#include <map>

#include "wavehost/care/survey.h"
#include "wavehost/commands/command_line.h"
#include "wavehost/commands/write_result.h"
#include "wavehost/edits/carried_tags.h"
#include "wavehost/edits/tag_edit.h"
#include "wavehost/facts/messages.h"
#include "wavehost/facts/source_facts.h"
#include "wavehost/files/progress.h"
#include "wavehost/files/wav_writer.h"
#include "wavehost/host/host_services.h"
#include "wavehost/host/resampler.h"
#include "wavehost/os/failure.h"
#include "wavehost/os/interruption.h"
#include "wavehost/os/terminal_text.h"

namespace vantor::wavehost {

namespace {

constexpr int64_t defaultBlockFrames = 16384;
constexpr int64_t largestBlockSamples = 1 << 24;

struct RenderOptions {
    std::string file;
    std::string output;  // "-": standard output
    double startSeconds = 0;
    std::optional<double> lengthSeconds;
    std::optional<double> sampleRate;
    std::optional<int32_t> channels;
    std::optional<int32_t> blockFrames;
    std::string format = "f64";
    bool raw = false;
    bool tags = false;
    bool stats = false;
};

const std::map<std::string, SampleFormat> sampleFormats{{"f64", SampleFormat::f64},
                                                        {"f32", SampleFormat::f32},
                                                        {"s24", SampleFormat::s24},
                                                        {"s16", SampleFormat::s16}};

struct Plan {
    double startSeconds;
    double sampleRate;
    int32_t channels;
    int32_t blockFrames;
    int64_t totalFrames;
};

Plan MakePlan(PCM_source& source, const RenderOptions& options) {
    Plan plan{};
    plan.startSeconds = options.startSeconds;
    plan.sampleRate = options.sampleRate.value_or(source.SampleRate());
    plan.channels = options.channels.value_or(source.ChannelCount());
    const int64_t mostFrames = std::max<int64_t>(largestBlockSamples / plan.channels, 1);
    plan.blockFrames =
        static_cast<int32_t>(std::min<int64_t>(options.blockFrames.value_or(defaultBlockFrames), mostFrames));
    // A source begins with the nearest frame.
    const double rate = source.SampleRate();
    if (rate != plan.sampleRate && !CreateRateConverter(1, rate, plan.sampleRate))
        throw Failure("a rate of " + NumberText(rate) + " Hz cannot be brought to " +
                      NumberText(plan.sampleRate));
    const int64_t first = std::llround(options.startSeconds * rate);
    const int64_t left = std::llround(source.LengthSeconds() * rate) - first;
    if (first > 0 && left < 1)
        throw Failure("ends at " + TimeText(source.LengthSeconds()) +
                      ", before the start that was asked for");
    const double leftSeconds = static_cast<double>(left) / rate;
    const double length = std::min(options.lengthSeconds.value_or(leftSeconds), leftSeconds);
    plan.totalFrames = std::llround(length * plan.sampleRate);
    return plan;
}

using Block = std::vector<double>;

// Plays block after block; returns the frames that came.
int64_t Play(PCM_source& source, const Plan& plan, Block& samples, WavWriter& writer, Progress& progress) {
    int64_t done = 0;
    while (done < plan.totalFrames) {
        CheckInterruption();
        TransferBlock block{};
        block.startSeconds = plan.startSeconds + static_cast<double>(done) / plan.sampleRate;
        block.sampleRate = plan.sampleRate;
        block.channels = plan.channels;
        block.frames = static_cast<int32_t>(std::min<int64_t>(plan.blockFrames, plan.totalFrames - done));
        block.samples = samples.data();
        block.absoluteSeconds = block.startSeconds;
        source.ReadSamples(&block);
        if (block.framesProduced < 1) break;
        writer.Write(samples.data(), block.framesProduced);
        done += block.framesProduced;
        progress.Show(static_cast<double>(done) / static_cast<double>(plan.totalFrames));
    }
    return done;
}

void PlaySilence(const Plan& plan, int64_t frames, Block& samples, WavWriter& writer) {
    std::fill(samples.begin(), samples.end(), 0.0);
    while (frames > 0) {
        CheckInterruption();
        const int64_t now = std::min<int64_t>(frames, plan.blockFrames);
        writer.Write(samples.data(), now);
        frames -= now;
    }
}

// What is played is what lies there; the file may promise more.
void TellOfCutOff(const Session& session, const std::string& file) {
    const auto survey = SurveyFile(file);
    const bool isWhole = !survey->sound || survey->sound->claim == SoundClaim::fits ||
                         survey->sound->claim == SoundClaim::unfinished;
    if (!isWhole) ReportNote(session.quiet, file, "the file and its sizes do not agree; 'check' tells more");
}

// The exit status for sound that did not come. Of a last ADPCM block that is cut off nothing can be played,
// which is how such files are.
int JudgeMissing(PCM_source& source, const RenderOptions& options, const Plan& plan, int64_t missingFrames) {
    if (missingFrames == 0) return exitDone;
    const double missing = static_cast<double>(missingFrames) * source.SampleRate() / plan.sampleRate;
    ReportFailure(options.file, "ended after " + std::to_string(plan.totalFrames - missingFrames) + " of " +
                                    std::to_string(plan.totalFrames) +
                                    " frames; silence stands for the rest");
    return missing < static_cast<double>(SurveyFile(options.file)->blockFrames) ? exitDone : exitFailed;
}

void ReportSpeed(const std::string& file, int64_t frames, double sampleRate, double seconds) {
    std::fprintf(stderr, "%s: %lld frames in %.3f s, %.0f times real time\n", TerminalLine(file).c_str(),
                 static_cast<long long>(frames), seconds, static_cast<double>(frames) / sampleRate / seconds);
}

// Into the file that has not yet taken its place.
int CarryTags(Session& session, PCM_source& source, const RenderOptions& options, const Plan& plan,
              const WavWriter& writer) {
    const CarriedTags tags = TagsToCarry(source);
    for (const std::string& key : tags.leftOut)
        ReportNote(session.quiet, options.file,
                   key + " is not carried; 'meta extract' and 'meta embed' copy it");
    const Assignments wishes = TagsOfStretch(source, tags, plan.startSeconds, plan.sampleRate,
                                             8 * BytesPerSample(sampleFormats.at(options.format)));
    if (wishes.empty()) return exitDone;
    EditWays ways;
    ways.trustsValues = true;
    const EditResult result = EditTags(
        ModuleOf(session), TextOf(writer.WrittenTo()),
        [&](PCM_source&, const Metadata&) { return Assignments(wishes); }, ways);
    for (const std::string& shortfall : result.told.shortfalls)
        ReportFailure(options.file, shortfall);
    return result.told.shortfalls.empty() ? exitDone : exitFailed;
}

int Render(Session& session, const RenderOptions& options) {
    Host().readMode = playingReads;
    const HostPtr<PCM_source> source = OpenSource(ModuleOf(session), options.file);
    if (options.output != "-" && IsSameFile(PathOf(options.file), PathOf(options.output)))
        throw Failure("cannot be rendered onto itself");
    const Plan plan = MakePlan(*source.Get(), options);
    const WavLayout layout{sampleFormats.at(options.format), plan.channels, plan.sampleRate, options.raw};
    int64_t came = 0;
    bool isWritten = false;
    const auto started = std::chrono::steady_clock::now();
    const int status = ForFile(OutputName(options.output), [&] {
        Block samples(static_cast<size_t>(plan.blockFrames) * static_cast<size_t>(plan.channels));
        WavWriter writer(options.output, layout, plan.totalFrames);
        {
            Progress progress("render " + options.file, session.quiet);
            came = Play(*source.Get(), plan, samples, writer, progress);
        }
        if (came == 0 && plan.totalFrames > 0)
            throw Failure(options.file + " ended after 0 of " + std::to_string(plan.totalFrames) + " frames");
        PlaySilence(plan, plan.totalFrames - came, samples, writer);
        writer.Finish();
        const int carried =
            options.tags ? CarryTags(session, *source.Get(), options, plan, writer) : exitDone;
        writer.TakePlace();
        isWritten = true;
        return carried;
    });
    if (options.stats) ReportStatistics();
    if (!isWritten) return status;
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - started;
    if (!session.quiet) ReportSpeed(options.file, came, plan.sampleRate, std::max(taken.count(), 1e-6));
    if (!options.lengthSeconds) TellOfCutOff(session, options.file);
    return std::max(status, JudgeMissing(*source.Get(), options, plan, plan.totalFrames - came));
}

int RunRender(Session& session, const RenderOptions& options) {
    if (options.tags && options.output == "-") {
        ReportFailure("", "--tags needs a file to write: they come behind the sound");
        return exitUsage;
    }
    return ForFile(options.file, [&] { return Render(session, options); });
}

}  // namespace

void AddRender(CommandLine& line) {
    auto [command, options] = AddCommand(line, line.program, "render",
                                         "Play a file into a WAV file or into bare samples", &RunRender);
    AddOption(command, "FILE", &options->file, fileHelp, {.required = true});
    AddOption(command, "-o,--output", &options->output, "The file to write; - is standard output",
              {.required = true});
    AddOption(command, "--start", &options->startSeconds, "Seconds into the file", {.within = anyTime});
    AddOption(command, "--length", &options->lengthSeconds, "Seconds to play; all that is left by default",
              {.within = anyTime});
    AddOption(command, "--rate", &options->sampleRate, "Sample rate in Hz; the file's own by default",
              {.within = Bounds{1, 4294967295.0}});
    AddOption(command, "--channels", &options->channels, "Channels; the file's own by default",
              {.within = Bounds{1, 65535}});
    AddOption(command, "--block", &options->blockFrames, "Frames asked for at a time",
              {.within = Bounds{1, 1 << 24}});
    AddOption(command, "--format", &options->format, "Samples: f64 (exact, the default), f32, s24 or s16",
              {.choices = {"f64", "f32", "s24", "s16"}});
    AddFlag(command, "--raw", options->raw, "Samples without a header");
    AddFlag(command, "--tags", options->tags, "Carry the file's tags over", {.excludes = "--raw"});
    AddFlag(command, "--stats", options->stats, "Report what was read from the disk");
}

}  // namespace vantor::wavehost

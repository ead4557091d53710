#include "wavehost/report/take.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>

#include "wavehost/care/examine.h"
#include "wavehost/facts/messages.h"
#include "wavehost/report/slate.h"
#include "wavehost/values/timecode.h"

namespace vantor::wavehost {

namespace {

std::string PositionText(const SourceFacts& facts, const FrameRate* rate) {
    if (facts.positionSeconds < 0 || !(facts.sampleRate > 0)) return "";
    const auto samples = static_cast<uint64_t>(std::llround(facts.positionSeconds * facts.sampleRate));
    return rate ? TimecodeText(samples, facts.sampleRate, *rate) : ClockText(samples, facts.sampleRate);
}

void TakeFacts(PCM_source& source, const std::string& file, Take& take) {
    const SourceFacts facts = FactsOf(source, file);
    const Slate slate(facts.metadata);
    take.project = slate.Value(SlateField::project);
    take.roll = slate.Value(SlateField::roll);
    take.date = slate.Value(SlateField::date);
    take.scene = slate.Value(SlateField::scene);
    take.take = slate.Value(SlateField::take);
    take.note = slate.Value(SlateField::note);
    take.isCircled = slate.IsCircled();
    const FrameRate* const rate = slate.Rate();
    take.frameRate = rate ? rate->name : "";
    take.position = PositionText(facts, rate);
    take.lengthSeconds = facts.lengthSeconds;
    take.channels = facts.channels;
    take.sampleRate = facts.sampleRate;
    take.bitDepth = facts.bitDepth;
    take.tracks = ChannelNames(facts);
    take.waveform = WaveformOf(source);
}

void TakeFindings(const std::string& file, Take& take) try {
    for (const Finding& finding : ExamineFile(file)) {
        const FindingKind& kind = KindOf(finding.id);
        take.findings.push_back({SeverityName(kind.severity), finding.text});
    }
} catch (const std::exception& failure) {
    take.findings.push_back({SeverityName(Severity::error), failure.what()});
}

}  // namespace

Take TakeOf(const Module& module, const std::string& file, const std::string& nameInReport) {
    Take take;
    take.file = nameInReport;
    try {
        TakeFacts(*OpenSource(module, file).Get(), file, take);
    } catch (const std::exception& failure) {
        take.obstacle = failure.what();
    }
    TakeFindings(file, take);
    return take;
}

std::string LengthText(double seconds) {
    const auto whole = static_cast<long long>(std::llround(std::max(seconds, 0.0)));
    char text[40];
    std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld", whole / 3600, whole / 60 % 60, whole % 60);
    return text;
}

std::string RateText(double sampleRate) {
    return NumberText(sampleRate / 1000) + " kHz";
}

}  // namespace vantor::wavehost

// The audio source for one file, or one slice of one file. Its slots stand in wave_source.cpp (life cycle,
// format, samples), wave_source_state.cpp, wave_source_peaks.cpp and wave_source_extended.cpp.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "formats/audio_format.h"
#include "platform/lock.h"
#include "source/file_name_table.h"
#include "source/shared_state.h"
#include "vantor_wave/host_interface.h"

namespace vantor {

struct EditOutcome;

// What an open source hangs on. A call holds its own copy, so that another thread may close the source
// meanwhile. The format is the one that the source was opened with: pointers into it that the host was given
// stay valid until the source is closed.
struct SourceAttachment {
    std::shared_ptr<SharedFileState> state;
    std::shared_ptr<AudioFormat> format;
};

// NOLINTNEXTLINE(readability-identifier-naming): the name that hosts know
class PCM_source_wavefile final : public PCM_source {
  public:
    PCM_source_wavefile() = default;
    ~PCM_source_wavefile();
    PCM_source_wavefile(const PCM_source_wavefile&) = delete;
    PCM_source_wavefile& operator=(const PCM_source_wavefile&) = delete;

    void* DeletingDestructor(unsigned flags) override;
    PCM_source* Clone() override;
    bool IsOnline() override;
    void SetOnline(bool online) override;
    const char* TypeName() override;
    const char* FileName() override;
    bool ChangeFile(const char* fileName) override;
    PCM_source* SubSource() override { return nullptr; }
    void SetSubSource(PCM_source*) override {}
    int32_t ChannelCount() override;
    double SampleRate() override;
    double LengthSeconds() override;
    double BeatLength() override { return -1.0; }
    int32_t BitDepth() override;
    double PlacementPosition() override;
    int32_t ShowProperties(void* parentWindow) override;
    void ReadSamples(TransferBlock* block) override;
    void ReadPeaks(PeakRequest* request) override;
    int32_t WriteState(ProjectContext* context) override;
    int32_t ReadState(const char* firstLine, ProjectContext* context) override;
    void ClearPeaks(bool deleteFiles) override;
    int32_t BeginPeakBuild(intptr_t extra) override;
    int32_t RunPeakBuild() override;
    void FinishPeakBuild() override;
    intptr_t ExtendedCall(int32_t code, void* a, void* b, void* c) override;

    // Closes, and opens the file (null: the one it has) for a purpose. A failure leaves the source offline.
    void Open(const char* fileName, int32_t purpose);
    [[nodiscard]] SourceAttachment Attachment() const;
    // A copy of FileName, which another thread may change.
    [[nodiscard]] std::string Name() const;
    // True after SetOnline(false).
    [[nodiscard]] bool IsForcedOffline() const;
    [[nodiscard]] int32_t SliceIndex() const { return sliceIndex_; }
    void SetSliceIndex(int32_t index) { sliceIndex_ = index; }
    [[nodiscard]] std::atomic<double>& CachedTempo() { return cachedTempo_; }
    // Of its last request to write; null when there was none since it was opened.
    [[nodiscard]] std::shared_ptr<const EditOutcome> Outcome() const;
    void SetOutcome(std::shared_ptr<const EditOutcome> outcome);

  private:
    void Close(bool newNameFollows);
    void CreatePeakReader(const std::string& fileName);
    // Null when there is nothing to play.
    [[nodiscard]] std::shared_ptr<SharedFileState> PlayableState() const;
    // False when the reader can read no more and has delivered less than was asked for.
    bool ReadWithIdleReader(TransferBlock& block, SharedFileState& state);
    [[nodiscard]] bool IsNamed(std::string_view name) const;
    [[nodiscard]] const char* NameText() const VANTOR_NEEDS(lock_);

    platform::RecursiveMutex opening_;  // held while the source is opened or closed
    mutable platform::Mutex lock_;      // for moments only
    SharedFileName name_ VANTOR_GUARDED_BY(lock_);
    SourceAttachment attachment_ VANTOR_GUARDED_BY(lock_);
    std::shared_ptr<const EditOutcome> outcome_ VANTOR_GUARDED_BY(lock_);
    bool forcedOffline_ VANTOR_GUARDED_BY(lock_) = false;

    std::atomic<int32_t> sliceIndex_ = -1;    // negative: the whole file
    std::atomic<double> cachedTempo_ = 0;     // 0 not looked up, negative none
    std::atomic<void*> hostValue_ = nullptr;  // set by the host; the resampler's mode
};

// A run of frames of the file.
struct FrameSpan {
    int64_t start = 0;
    int64_t frames = 0;
};
// The slice's run, up to the next slice or the end of the file; none when there is no such slice or it is
// empty.
[[nodiscard]] std::optional<FrameSpan> SliceSpan(const AudioFormat& format, int32_t sliceIndex);

}  // namespace vantor

// A source that carries a file's metadata and no audio, for the host's browser.
#pragma once

#include <cstddef>
#include <cstdint>

#include "source/metadata_header_parse.h"
#include "vantor_wave/host_interface.h"

namespace vantor {

// Every slot but the extended call is a stub.
// NOLINTNEXTLINE(readability-identifier-naming): the name that hosts know
class PCM_source_wav_metadata final : public PCM_source {
  public:
    explicit PCM_source_wav_metadata(const char* fileName);
    ~PCM_source_wav_metadata() = default;
    PCM_source_wav_metadata(const PCM_source_wav_metadata&) = delete;
    PCM_source_wav_metadata& operator=(const PCM_source_wav_metadata&) = delete;

    // True when the file was read.
    [[nodiscard]] bool IsValid() const { return valid_; }

    void* DeletingDestructor(unsigned flags) override;
    PCM_source* Clone() override { return nullptr; }
    bool IsOnline() override { return false; }
    void SetOnline(bool) override {}
    const char* TypeName() override { return ""; }
    const char* FileName() override { return ""; }
    bool ChangeFile(const char*) override { return false; }
    PCM_source* SubSource() override { return nullptr; }
    void SetSubSource(PCM_source*) override {}
    int32_t ChannelCount() override { return 0; }
    double SampleRate() override { return 0; }
    double LengthSeconds() override { return 0; }
    double BeatLength() override { return 0; }
    int32_t BitDepth() override { return 0; }
    double PlacementPosition() override { return 0; }
    int32_t ShowProperties(void*) override { return 0; }
    void ReadSamples(TransferBlock*) override {}
    void ReadPeaks(PeakRequest*) override {}
    int32_t WriteState(ProjectContext*) override { return 0; }
    int32_t ReadState(const char*, ProjectContext*) override { return 0; }
    void ClearPeaks(bool) override {}
    int32_t BeginPeakBuild(intptr_t) override { return 0; }
    int32_t RunPeakBuild() override { return 0; }
    void FinishPeakBuild() override {}
    intptr_t ExtendedCall(int32_t code, void* a, void* b, void* c) override;

  private:
    [[nodiscard]] intptr_t ValueByKey(const char* key, char* value, int32_t valueBytes) const;
    [[nodiscard]] intptr_t EntryByIndex(size_t index, const char** key, const char** value) const;
    [[nodiscard]] intptr_t PacketTable(int64_t* valid, int32_t* priming, int32_t* remainder) const;

    MetadataHeader header_;
    bool valid_ = false;
};

}  // namespace vantor

// The host's abstract objects and the records that pass through them: the binary interface of the module.
//
// Slot 0 of every interface is an ordinary virtual, never a C++ destructor. The MSVC ABI gives a virtual
// destructor one slot, called with a flag word whose bit 0 asks for the memory to be freed; the Itanium ABI
// gives it two. Declared like this, the table has the same slots under every compiler.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vantor {

struct PeakRequest;
struct TransferBlock;

inline constexpr unsigned deleteAndFree = 1;  // bit 0 of DeletingDestructor's flags

// What an object must offer for HostPtr to own it.
class HostObject {
  public:
    virtual void* DeletingDestructor(unsigned flags) = 0;  // slot 0; returns the object's address

  protected:
    ~HostObject() = default;
};

// Turns one rate into another. The operations are called in the order in which they stand here.
class Resampler : public HostObject {
  public:
    virtual void Configure(int32_t what, intptr_t mode) = 0;         // what 0x1000: mode is the quality mode
    virtual void SetRates(double inputRate, double outputRate) = 0;  // Hz
    virtual double LatencySeconds() = 0;                             // seconds of input held back
    virtual void Reset() = 0;                                        // forgets all input
    // Input frames wanted before `outputFrames` can be produced; *input receives room for that many frames of
    // interleaved samples, valid until the next call.
    virtual int32_t RequestInput(int32_t outputFrames, int32_t channels, double** input) = 0;
    // Converts what was placed in the input room; returns the frames written to `output` (<= outputFrames).
    virtual int32_t Produce(double* output, int32_t inputFrames, int32_t outputFrames, int32_t channels) = 0;

  protected:
    ~Resampler() = default;
};

// Reads the stored peaks of one file.
class PeakReader : public HostObject {
  public:
    virtual double PeaksPerSecond() = 0;  // the finest resolution that it holds
    virtual void ReadPeaks(PeakRequest* request) = 0;

  protected:
    ~PeakReader() = default;
};

// Computes and stores the peaks of one source, which it owns.
class PeakBuilder : public HostObject {
  public:
    virtual double ProgressFraction() = 0;  // 0..1
    virtual int32_t Run() = 0;              // one step; 0 when the peaks are complete

  protected:
    ~PeakBuilder() = default;
};

// A block of lines in a project file, written or read in order.
class ProjectContext : public HostObject {
  public:
    // Writes one line. "%p~" takes a text and writes it as a quoted project string. Negative on failure.
    virtual int32_t AddLine(const char* format, ...) = 0;
    // Copies the next line, terminated, without its line end. Negative when there is none.
    virtual int32_t NextLine(char* line, int32_t lineBytes) = 0;

  protected:
    ~ProjectContext() = default;
};

// The host's audio source: 25 operations in fixed order. Texts belong to the source and stay valid until it
// changes.
class PCM_source : public HostObject {  // slot 0: DeletingDestructor
  public:
    virtual PCM_source* Clone() = 0;                                                // 1
    virtual bool IsOnline() = 0;                                                    // 2
    virtual void SetOnline(bool online) = 0;                                        // 3
    virtual const char* TypeName() = 0;                                             // 4
    virtual const char* FileName() = 0;                                             // 5: never null
    virtual bool ChangeFile(const char* fileName) = 0;                              // 6
    virtual PCM_source* SubSource() = 0;                                            // 7
    virtual void SetSubSource(PCM_source* source) = 0;                              // 8
    virtual int32_t ChannelCount() = 0;                                             // 9
    virtual double SampleRate() = 0;                                                // 10
    virtual double LengthSeconds() = 0;                                             // 11
    virtual double BeatLength() = 0;                                                // 12
    virtual int32_t BitDepth() = 0;                                                 // 13
    virtual double PlacementPosition() = 0;                                         // 14: seconds, -1.0 none
    virtual int32_t ShowProperties(void* parentWindow) = 0;                         // 15
    virtual void ReadSamples(TransferBlock* block) = 0;                             // 16
    virtual void ReadPeaks(PeakRequest* request) = 0;                               // 17
    virtual int32_t WriteState(ProjectContext* context) = 0;                        // 18
    virtual int32_t ReadState(const char* firstLine, ProjectContext* context) = 0;  // 19
    virtual void ClearPeaks(bool deleteFiles) = 0;                                  // 20
    virtual int32_t BeginPeakBuild(intptr_t extra) = 0;  // 21: extra goes on to "PeakGet_Create"
    virtual int32_t RunPeakBuild() = 0;                  // 22
    virtual void FinishPeakBuild() = 0;                  // 23
    virtual intptr_t ExtendedCall(int32_t code, void* a, void* b,
                                  void* c) = 0;  // 24: 0 not handled or failed

  protected:
    ~PCM_source() = default;
};

// One request for samples. The host fills it; ReadSamples sets framesProduced and the frames of `samples`.
struct TransferBlock {
    double startSeconds;
    double sampleRate;  // Hz wanted
    int32_t channels;   // wanted
    int32_t frames;     // wanted
    double* samples;    // frames x channels, interleaved
    int32_t framesProduced;
    int32_t reserved;
    double absoluteSeconds;  // place on the timeline; notContinuation: not a continuation of the last request
};
inline constexpr double notContinuation = -100000.0;
static_assert(offsetof(TransferBlock, startSeconds) == 0);
static_assert(offsetof(TransferBlock, sampleRate) == 8);
static_assert(offsetof(TransferBlock, channels) == 16);
static_assert(offsetof(TransferBlock, frames) == 20);
static_assert(offsetof(TransferBlock, samples) == 24);
static_assert(offsetof(TransferBlock, framesProduced) == 32);
static_assert(offsetof(TransferBlock, absoluteSeconds) == 40);
static_assert(sizeof(TransferBlock) == 48);

// One request for peaks: `frames` columns of `channels` maxima, then as many minima, in `peaks`.
struct PeakRequest {
    double startSeconds;
    double peaksPerSecond;  // columns a second wanted
    int32_t channels;
    int32_t frames;  // columns wanted
    double* peaks;   // 2 x frames x channels: all maxima (interleaved), then all minima
    int32_t framesProduced;
    int32_t reserved;
};
static_assert(offsetof(PeakRequest, startSeconds) == 0);
static_assert(offsetof(PeakRequest, peaksPerSecond) == 8);
static_assert(offsetof(PeakRequest, channels) == 16);
static_assert(offsetof(PeakRequest, frames) == 20);
static_assert(offsetof(PeakRequest, peaks) == 24);
static_assert(offsetof(PeakRequest, framesProduced) == 32);
static_assert(sizeof(PeakRequest) == 40);

// Filled by extended calls 0x90005 and 0x90016. The name belongs to the source.
struct MarkerRecord {
    int32_t id;
    int32_t isRegion;
    double startSeconds;
    double endSeconds;
    const char* name;  // null: none
    int32_t namePriority;
    int32_t reserved;
};
static_assert(offsetof(MarkerRecord, id) == 0);
static_assert(offsetof(MarkerRecord, isRegion) == 4);
static_assert(offsetof(MarkerRecord, startSeconds) == 8);
static_assert(offsetof(MarkerRecord, endSeconds) == 16);
static_assert(offsetof(MarkerRecord, name) == 24);
static_assert(offsetof(MarkerRecord, namePriority) == 32);
static_assert(sizeof(MarkerRecord) == 40);

// Passed to extended call 0x90006.
struct SliceRequest {
    PCM_source* source;    // out: a source of the slice, owned by the caller; null when position only
    double positionBeats;  // out
    int32_t flags;         // bit 0: position only
    int32_t reserved;
};
inline constexpr int32_t slicePositionOnly = 1;
static_assert(offsetof(SliceRequest, source) == 0);
static_assert(offsetof(SliceRequest, positionBeats) == 8);
static_assert(offsetof(SliceRequest, flags) == 16);
static_assert(sizeof(SliceRequest) == 24);

// One pair of the list that extended call 0x20008 takes; the list ends with the first pair that holds a null.
struct MetadataPair {
    const char* key;
    const char* value;
};
static_assert(sizeof(MetadataPair) == 16);

// What PCM_source::ExtendedCall is asked for.
enum ExtendedCode : int32_t {
    callProjectNote = 0x10006,
    callValueByKey = 0x10007,
    callEntryByIndex = 0x10013,
    callFileInfoText = 0x10014,
    callWriteMetadata = 0x20008,
    callTempo = 0x40000,
    callBeatSlices = 0x90006,
    callAllocatedMarker = 0x90005,
    callSourceGoesAway = 0x90007,
    callSetHostValue = 0x9000a,
    callUsableTempo = 0x9000d,
    callMarker = 0x90016,
};

// Flag bits of callWriteMetadata, and its answers.
enum WriteFlags : int32_t { writeMerge = 1, writeNeverInPlace = 2, writeLossless = 4, writeAnswerAlone = 8 };
enum WriteAnswer : int32_t { writeFailed = 0, writtenToTarget = 1, updatedInPlace = 2 };

// Handed to the entry.
struct HostInfo {
    int32_t callerVersion;  // must be hostInterfaceVersion
    void* mainWindow;
    int32_t (*RegisterService)(const char* key, void* service);  // nonzero: accepted
    void* (*LookupService)(const char* name);                    // null: not offered
};
inline constexpr int32_t hostInterfaceVersion = 526;
static_assert(offsetof(HostInfo, callerVersion) == 0);
static_assert(offsetof(HostInfo, mainWindow) == 8);
static_assert(offsetof(HostInfo, RegisterService) == 16);
static_assert(offsetof(HostInfo, LookupService) == 24);

// Registered under "pcmsrc".
struct SourceTypeHandler {
    PCM_source* (*CreateByType)(const char* typeName, int32_t priority);
    PCM_source* (*CreateByFile)(const char* fileName, int32_t priority);
    const char* (*ExtensionList)(int32_t index, const char** description);
};
static_assert(sizeof(SourceTypeHandler) == 24);

// Owns a host object (a source, resampler, peak reader or builder).
template <typename T>
class HostPtr {
  public:
    HostPtr() = default;
    explicit HostPtr(T* object) : object_(object) {}
    HostPtr(HostPtr&& other) noexcept : object_(other.Release()) {}
    HostPtr& operator=(HostPtr&& other) noexcept {
        Reset(other.Release());
        return *this;
    }
    ~HostPtr() { Reset(); }

    [[nodiscard]] T* Get() const { return object_; }
    T* operator->() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }
    [[nodiscard]] T* Release() {
        T* object = object_;
        object_ = nullptr;
        return object;
    }
    void Reset(T* object = nullptr) {
        T* old = object_;
        object_ = object;
        if (old) old->DeletingDestructor(deleteAndFree);
    }

  private:
    T* object_ = nullptr;
};

}  // namespace vantor

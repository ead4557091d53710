// A host as the MSVC compiler sees it: the interfaces declared the ordinary way, with virtual destructors.
// Compiled for x86_64-pc-windows-msvc and linked into the test executable of another compiler.

#include "abi_report.h"

using size_t = decltype(sizeof 0);

void* operator new(size_t bytes) {
    return AbiAllocate(bytes);
}
void operator delete(void* memory) noexcept {
    AbiFree(memory);
}
void operator delete(void* memory, size_t) noexcept {
    AbiFree(memory);
}

extern "C" int _fltused = 0;  // the marker that MSVC objects with floating point ask for

namespace {

struct TransferBlock {
    double startSeconds;
    double sampleRate;
    int channels;
    int frames;
    double* samples;
    int framesProduced;
    int reserved;
    double absoluteSeconds;
};

struct MarkerRecord {
    int id;
    int isRegion;
    double startSeconds;
    double endSeconds;
    const char* name;
    int namePriority;
    int reserved;
};

class Source {
  public:
    virtual ~Source() = default;
    virtual Source* Clone() = 0;
    virtual bool IsOnline() = 0;
    virtual void SetOnline(bool online) = 0;
    virtual const char* TypeName() = 0;
    virtual const char* FileName() = 0;
    virtual bool ChangeFile(const char* fileName) = 0;
    virtual Source* SubSource() = 0;
    virtual void SetSubSource(Source* source) = 0;
    virtual int ChannelCount() = 0;
    virtual double SampleRate() = 0;
    virtual double LengthSeconds() = 0;
    virtual double BeatLength() = 0;
    virtual int BitDepth() = 0;
    virtual double PlacementPosition() = 0;
    virtual int ShowProperties(void* window) = 0;
    virtual void ReadSamples(TransferBlock* block) = 0;
    virtual void ReadPeaks(void* request) = 0;
    virtual int WriteState(void* context) = 0;
    virtual int ReadState(const char* line, void* context) = 0;
    virtual void ClearPeaks(bool deleteFiles) = 0;
    virtual int BeginPeakBuild(long long extra) = 0;
    virtual int RunPeakBuild() = 0;
    virtual void FinishPeakBuild() = 0;
    virtual long long ExtendedCall(int code, void* a, void* b, void* c) = 0;
};

AbiReport* current = nullptr;

class PeakReader {
  public:
    PeakReader() { ++current->peakReadersMade; }
    virtual ~PeakReader() { ++current->peakReadersDestroyed; }
    virtual double PeaksPerSecond() { return 0; }
    virtual void ReadPeaks(void*) {}
};

struct Handler {
    Source* (*CreateByType)(const char*, int);
    Source* (*CreateByFile)(const char*, int);
    const char* (*ExtensionList)(int, const char**);
};

struct HostInfo {
    int callerVersion;
    void* mainWindow;
    int (*RegisterService)(const char*, void*);
    void* (*LookupService)(const char*);
};

Handler* handler = nullptr;

bool Same(const char* left, const char* right) {
    while (*left && *left == *right) {
        ++left;
        ++right;
    }
    return *left == *right;
}

int Register(const char* key, void* service) {
    if (Same(key, "pcmsrc")) handler = static_cast<Handler*>(service);
    return 1;
}

PeakReader* CreatePeakReader(const char*, int, int, long long) {
    return new PeakReader;
}
void* CreateNothing() {
    return nullptr;
}

void* Lookup(const char* name) {
    if (Same(name, "PeakGet_Create")) return reinterpret_cast<void*>(&CreatePeakReader);
    const char* const others[] = {"PeakBuild_CreateEx", "Resampler_Create", "format_timestr", "resolve_fn"};
    for (const char* other : others)
        if (Same(name, other)) return reinterpret_cast<void*>(&CreateNothing);
    return nullptr;
}

int Read(Source* source, double* samples, int frames) {
    TransferBlock block = {0, source->SampleRate(), source->ChannelCount(), frames, samples, 0, 0, 0};
    source->ReadSamples(&block);
    return block.framesProduced;
}

void Question(Source* source, AbiReport& report) {
    report.online = source->IsOnline();
    report.channels = source->ChannelCount();
    report.bitDepth = source->BitDepth();
    report.sampleRate = source->SampleRate();
    report.lengthSeconds = source->LengthSeconds();
    report.beatLength = source->BeatLength();
    const char* name = source->TypeName();
    for (int i = 0; i < 31 && name[i]; ++i)
        report.typeName[i] = name[i];
    report.framesProduced = Read(source, report.firstSamples, 2);
    MarkerRecord marker;
    report.extendedResult = source->ExtendedCall(0x90016, nullptr, &marker, nullptr);
    report.markerSeconds = marker.startSeconds;
}

void QuestionClone(Source* source, AbiReport& report) {
    Source* clone = source->Clone();
    if (!clone) return;
    double samples[4] = {};
    report.cloneFrames = Read(clone, samples, 2);
    report.cloneSample = samples[3];
    delete clone;
}

}  // namespace

extern "C" void DriveModule(EntryFunction entry, const char* fileName, AbiReport* report) {
    current = report;
    HostInfo host = {526, nullptr, &Register, &Lookup};
    report->entryResult = entry(nullptr, &host);
    if (report->entryResult != 1 || !handler) return;
    Source* source = handler->CreateByFile(fileName, 7);
    if (!source) return;
    Question(source, *report);
    QuestionClone(source, *report);
    source->SetOnline(false);
    delete source;
}

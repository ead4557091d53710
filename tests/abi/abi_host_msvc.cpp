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

int peakReadersMade = 0;
int peakReadersDestroyed = 0;  // by the module, through the MSVC deleting destructor

class PeakReader {
  public:
    PeakReader() { ++peakReadersMade; }
    virtual ~PeakReader() { ++peakReadersDestroyed; }
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

struct Check {
    const char* what;
    bool holds;
};

template <size_t count>
const char* FirstFault(const Check (&checks)[count]) {
    for (const Check& check : checks)
        if (!check.holds) return check.what;
    return nullptr;
}

const char* FaultOf(Source* source) {
    double samples[4] = {};
    TransferBlock block = {0, 2, 2, 2, samples, 0, 0, 0};
    source->ReadSamples(&block);
    MarkerRecord marker = {};
    const Check checks[] = {
        {"IsOnline", source->IsOnline()},
        {"TypeName", Same(source->TypeName(), "WAVE")},
        {"ChannelCount", source->ChannelCount() == 2},
        {"SampleRate", source->SampleRate() == 2},
        {"LengthSeconds", source->LengthSeconds() == 1},
        {"BeatLength", source->BeatLength() == -1},
        {"BitDepth", source->BitDepth() == 16},
        {"ReadSamples", block.framesProduced == 2},
        {"samples", samples[0] == 0.5 && samples[1] == -1 && samples[2] == 0.25 && samples[3] == -0.5},
        {"ExtendedCall", source->ExtendedCall(0x90016, nullptr, &marker, nullptr) == 1},
        {"marker", marker.startSeconds == 0.5},
    };
    return FirstFault(checks);
}

}  // namespace

extern "C" const char* DriveModule(EntryFunction entry, const char* fileName) {
    HostInfo host = {526, nullptr, &Register, &Lookup};
    if (entry(nullptr, &host) != 1 || !handler) return "entry";
    Source* source = handler->CreateByFile(fileName, 7);
    if (!source) return "CreateByFile";
    Source* clone = source->Clone();
    if (!clone) return "Clone";
    Source* const both[] = {source, clone};
    for (Source* each : both) {
        if (const char* fault = FaultOf(each)) return fault;
        each->SetOnline(false);
        delete each;
    }
    const bool allDestroyed = peakReadersMade > 0 && peakReadersDestroyed == peakReadersMade;
    return allDestroyed ? nullptr : "peak readers";
}

// The objects that the host lends to the module. The host implements them; each is used by one thread at a
// time unless it says otherwise.
//
// Slot 0 of every interface is an ordinary virtual, never a C++ destructor. The MSVC ABI gives a virtual
// destructor one slot, called with a flag word whose bit 0 asks for the memory to be freed; the Itanium ABI
// gives it two. Declared like this, the table has the same slots under every compiler. A host built with MSVC
// may as well declare its classes with a virtual destructor in the first place.
#pragma once

#include <cstdint>

namespace vantor {

struct PeakRequest;

inline constexpr unsigned deleteAndFree = 1;  // bit 0 of DeletingDestructor's flags

// What an object must offer for HostPtr to own it.
class HostObject {
  public:
    // Slot 0. Ends the object's life; frees its memory, too, when the flags hold deleteAndFree (the module
    // always asks for that). Answers the object's address, which may no longer be used.
    virtual void* DeletingDestructor(unsigned flags) = 0;

  protected:
    ~HostObject() = default;
};

// Turns the rate of one stream into another. The module makes one for a reader of a file when a request asks
// for another rate than the file's, uses it for one request after another, and destroys it with the reader.
// The operations are called in the order in which they stand here, Configure to LatencySeconds and
// RequestInput to Produce for each request.
class Resampler : public HostObject {
  public:
    // Slot 1. what: resamplerMode; mode: the value that the host gave the source with callSetHostValue, else
    // 0.
    virtual void Configure(int32_t what, intptr_t mode) = 0;
    // Slot 2. Hz. Called again with the same rates for a stream that goes on, which must not disturb it.
    virtual void SetRates(double inputRate, double outputRate) = 0;
    // Slot 3. Seconds of input taken, but not yet in the output: the module reads that much ahead.
    virtual double LatencySeconds() = 0;
    // Slot 4. Forgets all input: the stream starts anew elsewhere.
    virtual void Reset() = 0;
    // Slot 5. Answers how many input frames it wants before it can produce `outputFrames`; *input receives
    // room for that many frames of interleaved samples, its own, valid until the next call. 0 and null are
    // fine.
    virtual int32_t RequestInput(int32_t outputFrames, int32_t channels, double** input) = 0;
    // Slot 6. Converts the `inputFrames` frames that were placed in the room, which are fewer than wanted at
    // the end of the file; answers how many frames it wrote to `output`, at most outputFrames.
    virtual int32_t Produce(double* output, int32_t inputFrames, int32_t outputFrames, int32_t channels) = 0;

  protected:
    ~Resampler() = default;
};
inline constexpr int32_t resamplerMode = 0x1000;

// Reads the stored peaks of one file. One for all sources of the file.
class PeakReader : public HostObject {
  public:
    // Slot 1. The finest resolution that it holds, in columns a second. A request for more goes to
    // "HiresPeaksFromSource" instead, when the host offers that.
    virtual double PeaksPerSecond() = 0;
    // Slot 2. Fills the request, framesProduced included. Times count from the start of the file.
    virtual void ReadPeaks(PeakRequest* request) = 0;

  protected:
    ~PeakReader() = default;
};

// Computes and stores the peaks of one source, which it owns and destroys.
class PeakBuilder : public HostObject {
  public:
    virtual double ProgressFraction() = 0;  // slot 1: 0..1, for the host's own use; the module does not ask
    virtual int32_t Run() = 0;  // slot 2: works for a moment; 0 when the peaks are complete and stored

  protected:
    ~PeakBuilder() = default;
};

// The lines of one source in a project file, written or read in order. It stays the host's: the module never
// destroys it and keeps it no longer than a call.
class ProjectContext : public HostObject {
  public:
    // Slot 1. Writes one line. The format is printf's, and "%p~" takes a text and writes it as a quoted
    // token. The module writes "FILE %p~" and "SLICE %d". Negative on failure.
    virtual int32_t AddLine(const char* format, ...) = 0;
    // Slot 2. Copies the next line without its line end, cut to lineBytes with its zero. Negative when there
    // is none.
    virtual int32_t NextLine(char* line, int32_t lineBytes) = 0;

  protected:
    ~ProjectContext() = default;
};

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

// The audio source: 25 operations in fixed order. The module makes them (plugin_entry.h); the host owns what
// it was given and destroys it through slot 0.
//
// Sources of one file are cheap: they share its parsed format, its tags and its open handles. A source is
// online when its file could be opened and parsed; offline it stays usable, with one channel, no rate and no
// length.
//
// Any thread may call any slot, but destroying, which must be the last call. Sources of one file and of
// several may be read at the same time, and no read waits for another or for a parse of another file. Two
// threads may read one source at a time, too; a stream that runs through a resampler should have a source of
// its own.
#pragma once

#include <cstdint>

#include "vantor_wave/host_objects.h"

namespace vantor {

struct TransferBlock;

class PCM_source : public HostObject {  // slot 0: DeletingDestructor
  public:
    // Slot 1. A new source of the same file and slice, the caller's. Null when memory runs out.
    virtual PCM_source* Clone() = 0;
    // Slot 2. True when the source can be played.
    virtual bool IsOnline() = 0;
    // Slot 3. False: closes the file; its last source closes its handles, so that others may replace or
    // delete it. True: opens it (again, parsed anew when it has changed). IsOnline tells whether that worked.
    virtual void SetOnline(bool online) = 0;
    // Slot 4. "WAVE", or "WAVE_SLICE" for a slice of a loop. Valid for ever.
    virtual const char* TypeName() = 0;
    // Slot 5. As it was given; empty when there is none, never null. Valid until ChangeFile, ReadState or the
    // end.
    virtual const char* FileName() = 0;
    // Slot 6. Sets the name alone (null: none); the next SetOnline(true) of a closed source opens it. True
    // when the name was taken.
    virtual bool ChangeFile(const char* fileName) = 0;
    // Slots 7 and 8. A source within a source: there is none. Null; ignored.
    virtual PCM_source* SubSource() = 0;
    virtual void SetSubSource(PCM_source* source) = 0;
    // Slot 9. 1 offline.
    virtual int32_t ChannelCount() = 0;
    // Slot 10. Hz; 0 offline.
    virtual double SampleRate() = 0;
    // Slot 11. Seconds, of the slice for a slice; asked anew for a recording that still grows. 0 offline.
    virtual double LengthSeconds() = 0;
    // Slot 12. Length in beats, for sources that have one: -1.0.
    virtual double BeatLength() = 0;
    // Slot 13. Bits a sample as people count them: the valid ones, 16 for ADPCM. 0 offline.
    virtual int32_t BitDepth() = 0;
    // Slot 14. Where the file belongs on the timeline, in seconds, from its tags. -1.0: nowhere.
    virtual double PlacementPosition() = 0;
    // Slot 15. A window with all that is known of the file. 1 when it was shown, 0 when there is none (as in
    // the Linux build). parentWindow: the system's handle, or null.
    virtual int32_t ShowProperties(void* parentWindow) = 0;
    // Slot 16. Fills the request; framesProduced 0 when offline. The slot for a thread that plays: it
    // allocates nothing after the first requests and takes short locks alone, but it reads the file when its
    // buffers are empty. A mono file fills the first two channels wanted; further channels are silent;
    // channels beyond the wanted ones are left out.
    virtual void ReadSamples(TransferBlock* block) = 0;
    // Slot 17. Fills the request from the file's peak reader, or through "HiresPeaksFromSource" where that is
    // not fine enough or missing; framesProduced 0 when neither has any.
    virtual void ReadPeaks(PeakRequest* request) = 0;
    // Slot 18. Writes the source's lines. The answer of the last AddLine; -1 without a context.
    virtual int32_t WriteState(ProjectContext* context) = 0;
    // Slot 19. Restores the source from the lines up to one that is ">" (blocks within are skipped, unknown
    // lines passed over), and opens its file. firstLine: the block's own first line, not used, may be null. 0
    // at the closing line; -1 when the lines ended before.
    virtual int32_t ReadState(const char* firstLine, ProjectContext* context) = 0;
    // Slot 20. Forgets the file's peaks; deleteFiles: removes the peak files that "GetPeakFileName" names,
    // too.
    virtual void ClearPeaks(bool deleteFiles) = 0;
    // Slot 21. 1 when a build of the file's peaks is running or was started now: go on with slot 22. 0 when
    // there are peaks already, or none can be made. extra: handed on to "PeakGet_Create".
    virtual int32_t BeginPeakBuild(intptr_t extra) = 0;
    // Slot 22. One PeakBuilder::Run: nonzero while there is more to do.
    virtual int32_t RunPeakBuild() = 0;
    // Slot 23. Ends the build, complete or not, and looks for the stored peaks.
    virtual void FinishPeakBuild() = 0;
    // Slot 24. The calls of extended_calls.h; 0: not handled or failed.
    virtual intptr_t ExtendedCall(int32_t code, void* a, void* b, void* c) = 0;

  protected:
    ~PCM_source() = default;
};

}  // namespace vantor

// The calls that PCM_source::ExtendedCall answers: ExtendedCall(code, a, b, c).
//
// A number is passed in place of a pointer, as an intptr_t. "Out" is the address that receives a value. The
// answer 0 means: not handled, an argument missing, or failed; then nothing was changed, the target of an out
// argument included unless the call says otherwise. Texts that a call hands out are the source's: valid until
// it is opened anew (SetOnline, a write of its tags) or destroyed. A source that is offline answers 0 to all
// but callSourceGoesAway and callSetHostValue, and puts the reason into the buffer of callFileInfoText.
//
// Any thread may call. callWriteMetadata may take as long as copying the file; edits of one file take turns.
// All others are quick, ask nothing of the disk, and do not wait for a thread that reads.
#pragma once

#include <cstdint>

namespace vantor {

enum ExtendedCode : int32_t {
    // -- Answered by wave sources and by metadata-only sources

    // The value of a key. a: key, a common field ("TITLE", "BPM": the first scheme that holds a value wins)
    // or a scheme's key ("INFO:INAM"); b: text buffer; c: its size. Answers the bytes of the text in `b`,
    // without its zero; 0 and an empty text when there is none; a value that is longer is cut. A
    // metadata-only source knows scheme keys alone.
    callValueByKey = 0x10007,
    // One key and value by index. a: index from 0, in the order of the keys; b: out const char*, the key; c:
    // out const char*, the value. Answers 1; 0 behind the last one.
    callEntryByIndex = 0x10013,

    // -- Answered by wave sources

    // A project position that a host left in the description ("TQP:..."). a: out const char*. Answers 1; 0:
    // none.
    callProjectNote = 0x10006,
    // Format, length, markers and every tag as lines for people, with CRLF line ends. a: text buffer; b: its
    // size; a longer text is cut. Answers 1; 0 when the source is offline, the reason being in `a` then.
    callFileInfoText = 0x10014,
    // Writes tags into the file: RIFF WAVE, RF64 and BW64, else 0. a: name of the file that is written when
    // the source's own cannot be updated in place, never the source's own (refused); b: MetadataPair array;
    // c: WriteFlags. Answers a WriteAnswer. The source goes on playing; it shows the new tags once it is
    // opened anew.
    callWriteMetadata = 0x20008,
    // A document as it stands in the file: the body of its first chunk; of pictures the bytes of the one that
    // "ID3:APIC" describes. a: "IXML", "AXML", "XMP" or "ID3:APIC"; b: buffer, may be null; c: its size; what
    // has no room is cut. Answers the bytes of the whole document; 0: none. Asks the disk.
    callDocument = 0x10017,
    // Puts a document in place of those of its scheme; all other chunks stay as they are. A picture takes the
    // place of the one that "ID3:APIC" describes, or is a new front cover; all other frames stay. a and c as
    // for callWriteMetadata, bits 1 and 3; b: DocumentRecord. Answers a WriteAnswer; 0 for one that is not
    // read as the scheme's.
    callWriteDocument = 0x20009,
    // What the last callWriteMetadata or callWriteDocument of this source with writeAnswerAlone would make of
    // the tags: one key and value, as callEntryByIndex would tell them once the file is written. a: index
    // from 0; b: out const char*, the key; c: out const char*, the value. Answers 1; 0 behind the last one,
    // and when there was no such request. Valid until the next request to write.
    callPlannedEntry = 0x10018,
    // The same for the chunks that hold tags, in file order. a: index from 0; b: out const char*, the four
    // characters of its id; c: DocumentRecord to fill with its scheme ("BWF", "INFO" ...) and its body.
    // Answers 1 or 0.
    callPlannedChunk = 0x10019,
    // A scheme whose chunks the last callWriteMetadata of this source with writeLossless built anew from
    // their keys, because the old ones could not be patched. a: index from 0; b: out const char*, the scheme.
    // Answers 1; 0 behind the last one.
    callRebuiltScheme = 0x1001a,
    // Tempo of a loop. a: out double, beats a minute from 2.0 to 960.0, 0 when unknown; b: out double, the
    // second beat count divided by 1,000,000. Either may be null. Answers 1; 0 for files without loop
    // information and for slices.
    callTempo = 0x40000,
    // The same, answered only when the tempo is known. a: out double, may be null. Answers 1 or 0.
    callUsableTempo = 0x9000d,
    // A marker in memory of its own. a: index from 0; b: out MarkerRecord*, a new record. Answers 1; 0 behind
    // the last one (null in the target then). With a negative index the record that `b` points to is freed,
    // its target set to null, and the answer is 0. Records are freed by no other way. Whole files only.
    callAllocatedMarker = 0x90005,
    // A slice of a loop. a: pointer to an int32_t, the slice's index; b: SliceRequest; c: out double, the
    // tempo, may be null. Answers 1. With `a` or `b` null: the number of slices. 0 when the file has no
    // slices or no usable tempo. The new source is a clone with the slice's index.
    callBeatSlices = 0x90006,
    // The host will not read from this source for a while: what is set aside for it may serve others. No
    // arguments. Answers 1 always.
    callSourceGoesAway = 0x90007,
    // a: a number for the resampler of this source: handed to Resampler::Configure with every read. The
    // clones of the source inherit it. Answers 1 always.
    callSetHostValue = 0x9000a,
    // A marker. a: index from 0; b: MarkerRecord to fill, zeroed first, may be null. Answers 1; 0 behind the
    // last one. Whole files only.
    callMarker = 0x90016,

    // -- Answered by metadata-only sources

    // The packet table of a CAF file. a: out int64_t, valid frames; b: out int32_t, priming frames; c: out
    // int32_t, remainder frames; each may be null and is written in any case. Answers 1 when there are valid
    // frames.
    callPacketTable = 0x90001,
};

// What callWriteDocument puts in, and callPlannedChunk tells.
struct DocumentRecord {
    const char* scheme;  // "IXML", "AXML", "XMP" or "ID3:APIC" to be put in
    const void* bytes;
    int64_t byteCount;
};
static_assert(sizeof(DocumentRecord) == 24);

// Flag bits of callWriteMetadata.
enum WriteFlags : int32_t {
    // Bit 0: the tags that the file has stay, and the new ones win. Without it the tags given are then all it
    // has.
    writeMerge = 1,
    // Bit 1: the source's file is left alone; the complete new file goes to `a`.
    writeNeverInPlace = 2,
    // Bit 2, with bit 0: nothing changes but what the changed keys stand for. Chunks, elements, frames and
    // bytes that no changed key touches stay as they are; no change, no write at all.
    writeLossless = 4,
    // Bit 3: says what the same request would answer, and writes nothing anywhere.
    writeAnswerAlone = 8,
};

enum WriteAnswer : int32_t {
    writeFailed = 0,      // the source's file is as it was, or, cut short in place, still holds its audio
    writtenToTarget = 1,  // the complete new file is `a`; it is the host's to put into the old one's place
    updatedInPlace = 2,   // the source's own file has the new tags; `a` was not touched
};

}  // namespace vantor

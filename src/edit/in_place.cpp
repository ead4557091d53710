#include "edit/in_place.h"

#include <algorithm>

#include "edit/byte_transfer.h"
#include "edit/placed_parts.h"

namespace vantor {

namespace {

struct InPlaceEdit {
    FileWriter& writer;
    const InPlacePlan& plan;
    FileSink file{writer};
    bool hasCovered = false;  // any of the old tags

    [[nodiscard]] const RunList& Runs() const { return plan.runs; }
    [[nodiscard]] int64_t Place() const { return plan.Target().start; }
    [[nodiscard]] int64_t ImageEnd() const { return Place() + plan.targetBytes; }
    [[nodiscard]] bool Flush() const { return writer.FlushToDisk(); }
};

bool WriteImage(InPlaceEdit& edit, int64_t offset) {
    return WriteAt(edit.file, offset, edit.plan.image.data(), edit.plan.ImageBytes());
}

// Chunks on the way to their place.
struct Piece {
    int64_t place = 0;
    int64_t bytes = 0;
    const uint8_t* from = nullptr;
    [[nodiscard]] int64_t End() const { return place + bytes; }
};

Piece TargetPiece(const InPlaceEdit& edit) {
    return {edit.Place(), edit.plan.targetBytes, edit.plan.image.data()};
}

bool WriteBehindItsHeader(InPlaceEdit& edit, const Piece& piece) {
    return WriteAt(edit.file, piece.place + chunkHeaderBytes, piece.from + chunkHeaderBytes,
                   piece.bytes - chunkHeaderBytes);
}

bool WriteHeader(InPlaceEdit& edit, const Piece& piece) {
    return WriteAt(edit.file, piece.place, piece.from, chunkHeaderBytes);
}

// The header comes last, and with it the whole image is there.
bool Show(InPlaceEdit& edit, const Piece& piece) {
    return edit.Flush() && WriteHeader(edit, piece) && edit.Flush();
}

bool WritePadByte(InPlaceEdit& edit) {
    const int64_t size = edit.Runs().fileSize;
    return size % 2 == 0 || (edit.file.MoveTo(size) && WriteZeros(edit.file, 1));
}

bool CoverAll(InPlaceEdit& edit) {
    const auto coverOne = [&](const Stretch& cover) {
        const bool isCovered = WriteJunkHeader(edit.file, cover.start, cover.length);
        edit.hasCovered |= isCovered;
        return isCovered;
    };
    return std::ranges::all_of(edit.plan.covers, coverOne) && edit.Flush();
}

constexpr int64_t markedJunkBytes = chunkHeaderBytes + cleanUpMarkBytes;

bool TakesMark(const Stretch& junk) {
    return junk.length >= markedJunkBytes && FitsOneHeader(junk);
}

// Padding that waits for the clean-up, and says so where it has room.
bool WriteMarkedJunk(InPlaceEdit& edit, const Stretch& junk) {
    std::array<uint8_t, markedJunkBytes> bytes{};
    if (!TakesMark(junk)) return FillWithJunk(edit.file, junk.start, junk.length);
    std::ranges::copy(cleanUpMark, std::ranges::copy(JunkHeader(junk.length), bytes.begin()).out);
    return WriteAt(edit.file, junk.start, bytes.data(), std::ssize(bytes));
}

// The copy in it is shown until its mark stands.
bool HideCopy(InPlaceEdit& edit, const Stretch& gap) {
    return WriteAt(edit.file, gap.start + chunkHeaderBytes, cleanUpMark.data(), cleanUpMarkBytes) &&
           WriteJunkHeader(edit.file, gap.start, gap.length) && edit.Flush();
}

// The copy that counts is within the size in front, again when the edit had come to its end.
bool CountCopy(InPlaceEdit& edit) {
    const auto& plan = edit.plan;
    return (!plan.copyGrowsFile || WriteContainerSize(edit.file, plan.copy.end, plan.isRf64)) && edit.Flush();
}

// Nobody sees the copy yet.
bool WriteHiddenCopy(InPlaceEdit& edit) {
    const auto& [header, start, end] = edit.plan.copy;
    if (edit.plan.copyGrowsFile && !WritePadByte(edit)) return false;
    if (!WriteJunkHeader(edit.file, header, end - header)) return false;
    const auto mark = BytesOf(MarkOf(edit.plan));
    const int64_t room = start - header - chunkHeaderBytes - std::ssize(mark);
    if (edit.plan.copyGrowsFile && !WriteZeros(edit.file, room)) return false;
    if (!WriteAt(edit.file, start - std::ssize(mark), mark.data(), std::ssize(mark)) ||
        !WriteImage(edit, start))
        return false;
    return CountCopy(edit);
}

// From the old tags to the new ones.
bool SwitchToCopy(InPlaceEdit& edit) {
    const auto& [header, start, end] = edit.plan.copy;
    const bool isShown =
        edit.plan.switchesInOne || (WriteJunkHeader(edit.file, header, start - header) && edit.Flush());
    return isShown && CoverAll(edit);
}

bool CoverBehind(InPlaceEdit& edit, const Piece& piece, int64_t end) {
    return end <= piece.End() || WriteMarkedJunk(edit, {piece.End(), end - piece.End()});
}

std::vector<Piece> PlacedPieces(const InPlaceEdit& edit) {
    std::vector<Piece> pieces;
    int64_t done = edit.plan.targetBytes;
    for (const auto& [gap, bytes] : edit.plan.placed) {
        pieces.push_back({edit.Runs().gaps[gap].start, bytes, edit.plan.image.data() + done});
        done += bytes;
    }
    return pieces;
}

// Into the gaps, each of them one "JUNK" chunk by now, while the copy is shown.
bool MoveToPlaces(InPlaceEdit& edit) {
    if (edit.plan.placed.empty()) return true;
    const auto pieces = PlacedPieces(edit);
    for (size_t i = 0; i < pieces.size(); ++i) {
        const auto& gap = edit.Runs().gaps[edit.plan.placed[i].gap];
        if (!WriteBehindItsHeader(edit, pieces[i]) || !CoverBehind(edit, pieces[i], gap.End())) return false;
    }
    return edit.Flush() &&
           std::ranges::all_of(pieces, [&](const Piece& piece) { return WriteHeader(edit, piece); }) &&
           edit.Flush();
}

// Under one "JUNK" chunk, from the start of the target to its end or to the copy. Behind the image its rest
// stays hidden.
bool MoveToTarget(InPlaceEdit& edit) {
    if (edit.plan.targetBytes == 0) return true;
    const auto piece = TargetPiece(edit);
    const auto& target = edit.plan.Target();
    const bool holdsCopy = edit.plan.TargetHoldsCopy();
    const int64_t end = holdsCopy ? std::max(edit.plan.copy.end, target.End()) : target.End();
    const int64_t hidden = (holdsCopy ? edit.plan.copy.start : target.End()) - target.start;
    return WriteJunkHeader(edit.file, target.start, hidden) && WriteBehindItsHeader(edit, piece) &&
           CoverBehind(edit, piece, end) && Show(edit, piece);
}

// Where the file ends, and where its last chunk does: a pad byte may be missing and stays so.
struct FileEnd {
    int64_t cut = 0;
    int64_t lastChunk = 0;
};
FileEnd FinalEnd(const InPlaceEdit& edit) {
    const auto& runs = edit.Runs();
    if (!runs.isWholeToTheEnd) return {runs.fileSize, runs.end};
    if (!edit.plan.chosen && edit.plan.targetBytes > 0) return {edit.ImageEnd(), edit.ImageEnd()};
    if (runs.trailing.length > 0) return {runs.trailing.start, runs.trailing.start};
    return {runs.fileSize, runs.end};
}

bool Cut(InPlaceEdit& edit, int64_t offset) {
    return edit.file.MoveTo(offset) && edit.writer.CutAtPosition();
}

// Where the file cannot be cut, padding takes the place of what is left, and a later edit tries again.
bool EndFile(InPlaceEdit& edit) {
    const auto end = FinalEnd(edit);
    if (!WriteContainerSize(edit.file, end.lastChunk, edit.plan.isRf64)) return false;
    const int64_t left = edit.writer.Size() - end.cut;
    if (left <= 0 || Cut(edit, end.cut) || Cut(edit, end.cut)) return true;
    return left < chunkHeaderBytes ||
           (FillWithJunk(edit.file, end.cut, left) && WriteMarkedJunk(edit, {end.cut, left}) &&
            WriteContainerSize(edit.file, end.cut + left, edit.plan.isRf64));
}

bool IsMarked(const InPlaceEdit& edit, const Stretch& gap) {
    return TakesMark(gap) && std::ranges::binary_search(edit.plan.marked, gap.start);
}

bool TakesPiece(const InPlaceEdit& edit, const Run& gap) {
    return (edit.plan.targetBytes > 0 && &gap == &edit.plan.Target()) ||
           IsPlaced(edit.plan, static_cast<size_t>(&gap - edit.Runs().gaps.data()));
}

// The gaps that nothing goes to, those with a mark or those without.
bool BlankGaps(InPlaceEdit& edit, bool marked) {
    return std::ranges::all_of(edit.Runs().gaps, [&](const Run& gap) {
        if (TakesPiece(edit, gap) || IsMarked(edit, gap) != marked) return true;
        const bool hidesCopy = Holds(gap, edit.plan.copy);
        return (!hidesCopy || HideCopy(edit, gap)) && FillWithJunk(edit.file, gap.start, gap.length);
    });
}

// Zeros where old tags stood, the size of the file, its end. A mark is there until the last.
bool CleanUp(InPlaceEdit& edit) {
    if (!BlankGaps(edit, false) || !EndFile(edit) || !BlankGaps(edit, true)) return false;
    const auto blankBehind = [&](const Piece& piece, const Run& gap) {
        const int64_t rest = gap.End() - piece.End();
        return rest <= 0 || FillWithJunk(edit.file, piece.End(), rest);
    };
    const auto pieces = PlacedPieces(edit);
    for (size_t i = 0; i < pieces.size(); ++i)
        if (!blankBehind(pieces[i], edit.Runs().gaps[edit.plan.placed[i].gap])) return false;
    const bool isInGap = edit.plan.chosen && edit.plan.targetBytes > 0;
    return (!isInGap || blankBehind(TargetPiece(edit), edit.plan.Target())) && edit.Flush();
}

bool MarkAll(InPlaceEdit& edit) {
    return std::ranges::all_of(edit.plan.covers,
                               [&](const Stretch& cover) { return WriteMarkedJunk(edit, cover); });
}

// No old tags stand in the way of the new ones. Until they are whole, their own first header hides them.
bool WriteDirectly(InPlaceEdit& edit) {
    if (edit.plan.image.empty()) return MarkAll(edit) && edit.Flush();
    const int64_t room = edit.plan.Target().length;
    const bool grows = room == 0;
    if (grows && !WritePadByte(edit)) return false;
    if (!WriteJunkHeader(edit.file, edit.Place(), grows ? edit.plan.ImageBytes() : room) ||
        !WriteBehindItsHeader(edit, TargetPiece(edit)))
        return false;
    if (grows && !WriteContainerSize(edit.file, edit.ImageEnd(), edit.plan.isRf64)) return false;
    const auto piece = TargetPiece(edit);
    return CoverBehind(edit, piece, edit.Place() + room) && Show(edit, piece);
}

// A file without any room: the one way in which an interruption can cost tags.
bool Overwrite(InPlaceEdit& edit) {
    const uint8_t* image = edit.plan.image.data();
    const int64_t same = edit.plan.sameBytes, room = edit.plan.Target().length - same;
    const Piece rest{edit.Place() + same, edit.plan.ImageBytes() - same, image + same};
    if (!WriteAt(edit.file, edit.Place(), image, same)) return false;
    if (!edit.file.MoveTo(rest.place + room) || !WriteZeros(edit.file, rest.bytes - room)) return false;
    const int64_t covered = std::max(room, rest.bytes);
    if (covered > 0 && !(WriteJunkHeader(edit.file, rest.place, covered) && edit.Flush())) return false;
    return rest.bytes == 0 || (WriteBehindItsHeader(edit, rest) &&
                               CoverBehind(edit, rest, rest.place + covered) && Show(edit, rest));
}

bool WriteSaved(InPlaceEdit& edit) {
    return std::ranges::all_of(edit.plan.saved, [&](const SavedBytes& saved) {
        return WriteAt(edit.file, saved.offset, saved.bytes.data(), std::ssize(saved.bytes));
    });
}

// Padding again where the image or its copy was to go, as far as the file has grown to there.
bool HideAgain(InPlaceEdit& edit) {
    const auto& plan = edit.plan;
    if (plan.way == EditWay::overwrite || plan.image.empty()) return true;
    const bool isCopy = plan.way == EditWay::throughCopy;
    const int64_t start = isCopy ? plan.copy.header : edit.Place();
    const int64_t end = isCopy ? plan.copy.end : std::max(plan.Target().End(), edit.ImageEnd());
    return edit.writer.Size() <= start || WriteJunkHeader(edit.file, start, end - start);
}

// As far as it can be done: the disk that refused may refuse again. New tags stay where old ones were covered
// and do not come back.
InPlaceResult Undo(InPlaceEdit& edit) {
    const bool isRestored = WriteSaved(edit);
    if (edit.hasCovered && !isRestored) return InPlaceResult::unfinished;
    const bool isHidden = HideAgain(edit);
    const int64_t size = edit.Runs().fileSize;
    const bool isCut = edit.writer.Size() <= size || Cut(edit, size);
    const bool isFlushed = edit.Flush();
    return isRestored && isHidden && isCut && isFlushed ? InPlaceResult::undone : InPlaceResult::unfinished;
}

// What a failure that passes would leave half done is done again from its start.
template <typename Step>
bool Insist(InPlaceEdit& edit, Step step) {
    return step(edit) || step(edit);
}

// Padding of several chunks becomes one: what is then written into it goes over none of their headers.
bool JoinPadding(InPlaceEdit& edit) {
    const auto& split = edit.Runs().split;
    const auto join = [&](const Stretch& padding) {
        return WriteJunkHeader(edit.file, padding.start, padding.length);
    };
    return split.empty() || (std::ranges::all_of(split, join) && edit.Flush());
}

bool WriteNewTags(InPlaceEdit& edit) {
    switch (edit.plan.way) {
        case EditWay::direct:
            return WriteDirectly(edit);
        case EditWay::throughCopy:
            return WriteHiddenCopy(edit) && SwitchToCopy(edit);
        case EditWay::overwrite:
            break;
    }
    return Overwrite(edit);
}

}  // namespace

InPlaceResult UpdateInPlace(FileWriter& writer, const InPlacePlan& plan) {
    InPlaceEdit edit{writer, plan};
    if (!JoinPadding(edit) || !WriteNewTags(edit)) return Undo(edit);
    const bool isMoved =
        plan.way != EditWay::throughCopy || (Insist(edit, MoveToPlaces) && Insist(edit, MoveToTarget));
    return isMoved && Insist(edit, CleanUp) ? InPlaceResult::done : InPlaceResult::unfinished;
}

bool FinishInPlace(FileWriter& writer, const InPlacePlan& unfinished) {
    InPlaceEdit edit{writer, unfinished};
    return Insist(edit, CountCopy) && Insist(edit, CoverAll) && Insist(edit, MoveToPlaces) &&
           Insist(edit, MoveToTarget) && Insist(edit, CleanUp);
}

}  // namespace vantor

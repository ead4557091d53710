// Moves bytes into a file under edit: copies of runs, and padding chunks.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "fileio/file_reader.h"
#include "fileio/file_writer.h"
#include "host/host_services.h"

namespace vantor {

// Where the bytes of an edit go: into the file, or past a check of what is there already.
class ByteSink {
  public:
    virtual ~ByteSink() = default;
    [[nodiscard]] virtual bool MoveTo(int64_t position) = 0;
    [[nodiscard]] virtual bool Put(const uint8_t* bytes, int64_t count) = 0;  // all of them
};

// Tells the host at its end how much was written.
class FileSink final : public ByteSink {
  public:
    explicit FileSink(FileWriter& writer) : writer_(writer) {}
    ~FileSink() override { ReportDiskWritten(bytesWritten_); }
    FileSink(const FileSink&) = delete;
    FileSink& operator=(const FileSink&) = delete;
    [[nodiscard]] bool MoveTo(int64_t position) override { return writer_.Seek(position) == 0; }
    [[nodiscard]] bool Put(const uint8_t* bytes, int64_t count) override;

  private:
    FileWriter& writer_;
    int64_t bytesWritten_ = 0;
};

// Takes the bytes that the file holds already, and no others.
class ComparingSink final : public ByteSink {
  public:
    explicit ComparingSink(FileReader& reader) : reader_(reader) {}
    [[nodiscard]] bool MoveTo(int64_t position) override {
        return reader_.Seek(position) && reader_.Tell() == position;
    }
    [[nodiscard]] bool Put(const uint8_t* bytes, int64_t count) override;

  private:
    FileReader& reader_;
    std::vector<uint8_t> scratch_;
};

[[nodiscard]] bool WriteAt(ByteSink& sink, int64_t position, const uint8_t* bytes, int64_t count);

// Copies `count` bytes from the reader's position. False when any are missing on either side.
[[nodiscard]] bool CopyBytes(FileReader& reader, ByteSink& sink, int64_t count);

[[nodiscard]] bool WriteZeros(ByteSink& sink, int64_t count);

// The header of a "JUNK" chunk that takes `length` bytes with its header (length >= 8).
[[nodiscard]] std::array<uint8_t, 8> JunkHeader(int64_t length);

// Writes the header of a "JUNK" chunk that takes `length` bytes with its header (length >= 8), at once.
[[nodiscard]] bool WriteJunkHeader(ByteSink& sink, int64_t offset, int64_t length);

// Covers `length` bytes (>= 8) from `offset` on with "JUNK" chunks full of zeros. What one such chunk covered
// before stays covered meanwhile.
[[nodiscard]] bool FillWithJunk(ByteSink& sink, int64_t offset, int64_t length);

}  // namespace vantor

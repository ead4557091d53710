// The process-wide table of file names: sources whose names differ in letter case only share one record,
// which keeps the spelling of the first.
#pragma once

namespace vantor {

struct FileNameRecord;

// A counted reference to a record of the table. The table's lock is taken on every count.
class SharedFileName {
  public:
    SharedFileName() = default;
    explicit SharedFileName(const char* name);
    SharedFileName(SharedFileName&& other) noexcept;
    SharedFileName& operator=(SharedFileName&& other) noexcept;
    ~SharedFileName();

    // The name as first given; null when there is none.
    [[nodiscard]] const char* Text() const;

  private:
    FileNameRecord* record_ = nullptr;
};

}  // namespace vantor

#include "source/file_name_table.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "fileio/file_name.h"
#include "platform/lock.h"

namespace vantor {

struct FileNameRecord {
    int32_t references = 0;
    std::string name;
};

namespace {

struct NameTable {
    platform::Mutex lock;  // of all the records' counts, too
    std::vector<std::unique_ptr<FileNameRecord>> records VANTOR_GUARDED_BY(lock);  // by CompareFileNames
};

NameTable& Names() {
    static auto& table = *new NameTable;  // there until the process is gone, as its names may be
    return table;
}

auto PlaceOf(NameTable& table, std::string_view name) VANTOR_NEEDS(table.lock) {
    return std::lower_bound(table.records.begin(), table.records.end(), name,
                            [](const auto& record, std::string_view sought) {
                                return CompareFileNames(record->name, sought) < 0;
                            });
}

FileNameRecord* Intern(std::string_view name) {
    NameTable& table = Names();
    const platform::LockGuard guard(table.lock);
    auto place = PlaceOf(table, name);
    if (place == table.records.end() || CompareFileNames((*place)->name, name) != 0) {
        auto record = std::make_unique<FileNameRecord>();
        record->name = name;
        place = table.records.insert(place, std::move(record));
    }
    ++(*place)->references;
    return place->get();
}

void Release(FileNameRecord* record) {
    NameTable& table = Names();
    const platform::LockGuard guard(table.lock);
    if (--record->references == 0) table.records.erase(PlaceOf(table, record->name));
}

}  // namespace

SharedFileName::SharedFileName(const char* name) : record_(Intern(name)) {}

SharedFileName::SharedFileName(SharedFileName&& other) noexcept
    : record_(std::exchange(other.record_, nullptr)) {}

SharedFileName& SharedFileName::operator=(SharedFileName&& other) noexcept {
    std::swap(record_, other.record_);
    return *this;
}

SharedFileName::~SharedFileName() {
    if (record_) Release(record_);
}

const char* SharedFileName::Text() const {
    return record_ ? record_->name.c_str() : nullptr;
}

}  // namespace vantor

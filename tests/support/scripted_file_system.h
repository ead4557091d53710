// The system's files, with every operation on record and faults on order. Put it behind the seam for a test:
//
//     ScriptedFileSystem files;
//     const platform::ScopedFileSystem scope(files);
//     files.FailAt(Operation::write, 3, Fault::diskFull);   // the fourth write from now on
//
// Real files stay real, so a test looks at the outcome with ReadWholeFile. May be used by several threads.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/file_system.h"

namespace vantor::test {

// Overlapped requests are reads and writes too.
enum class Operation { open, read, write, seek, cut, remove, flush };

enum class Fault {
    failure,           // nothing is done
    partial,           // a read delivers the first half, a write stops after it with an error
    diskFull,          // a write stops after the first half, the disk being full
    sharingViolation,  // an open is refused because somebody is writing the file
};

struct FaultOrder {
    const char* name;
    Operation operation;
    Fault fault;
    bool andLater;  // all later ones meet it too
};
// What can go wrong with a file.
inline constexpr FaultOrder faultOrders[] = {
    {"write fails", Operation::write, Fault::failure, false},
    {"write stops half way", Operation::write, Fault::partial, false},
    {"disk full", Operation::write, Fault::diskFull, true},
    {"writes fail from here", Operation::write, Fault::failure, true},
    {"seek fails", Operation::seek, Fault::failure, false},
    {"seeks fail from here", Operation::seek, Fault::failure, true},
    {"cut fails", Operation::cut, Fault::failure, false},
    {"cuts fail from here", Operation::cut, Fault::failure, true},
    {"flush fails", Operation::flush, Fault::failure, false},
    {"flushes fail from here", Operation::flush, Fault::failure, true},
    {"open fails", Operation::open, Fault::failure, false},
    {"opens fail from here", Operation::open, Fault::failure, true},
    {"file is being written", Operation::open, Fault::sharingViolation, false},
    {"read fails", Operation::read, Fault::failure, false},
    {"read stops half way", Operation::read, Fault::partial, false},
    {"reads fail from here", Operation::read, Fault::failure, true},
};

struct OpenRecord {
    bool isWide = false;
    std::string narrow;  // the name in the form that was asked for
    std::u16string wide;
    platform::OpenOptions options;
};

struct RequestRecord {
    int64_t offset = 0;
    uint32_t count = 0;
    auto operator<=>(const RequestRecord&) const = default;
};

class ScriptedFileSystem final : public platform::FileSystem {
  public:
    // The `index`-th operation of the kind from now on (0: the next one) meets the fault; with `andLater`,
    // all after it do too.
    void FailAt(Operation operation, int64_t index, Fault fault, bool andLater = false);
    void FailAt(const FaultOrder& order, int64_t index) {
        FailAt(order.operation, index, order.fault, order.andLater);
    }
    // Writes beyond so many bytes, counted from now on, find the disk full.
    void SetFreeBytes(int64_t bytes) { Set(script_.freeBytes, bytes); }
    // While set, overlapped requests stay pending until somebody waits for them.
    void HoldRequests(bool hold) { Set(script_.holdsRequests, hold); }
    // Files opened from now on serve reads from a page cache.
    void ServeFromCache(bool cached) { Set(script_.servesFromCache, cached); }
    // Called before every operation from now on.
    void BeforeEach(std::function<void()> look) { Set(script_.beforeEach, std::move(look)); }
    // Forgets faults and records.
    void Reset() { Set(script_, {}); }

    [[nodiscard]] std::vector<OpenRecord> Opens() const { return Get(script_.opens); }
    [[nodiscard]] std::vector<RequestRecord> Reads() const { return Get(script_.reads); }
    [[nodiscard]] std::vector<RequestRecord> Writes() const { return Get(script_.writes); }
    // Failed ones too.
    [[nodiscard]] int64_t Count(Operation operation) const {
        return Get(script_.counts[static_cast<size_t>(operation)]);
    }
    // "wide" or "narrow": how the last file was asked to be removed.
    [[nodiscard]] std::string RemovedBy() const { return Get(script_.removedBy); }
    // How often the system was told that a file is read in order.
    [[nodiscard]] int OrdersExpected() const { return Get(script_.ordersExpected); }
    [[nodiscard]] int64_t BytesWritten() const { return Get(script_.bytesWritten); }

    [[nodiscard]] platform::OpenResult OpenWide(const std::u16string& name,
                                                const platform::OpenOptions& options,
                                                std::unique_ptr<platform::File>& file) override;
    [[nodiscard]] platform::OpenResult OpenNarrow(const std::string& name,
                                                  const platform::OpenOptions& options,
                                                  std::unique_ptr<platform::File>& file) override;
    [[nodiscard]] bool RemoveWide(const std::u16string& name) override;
    [[nodiscard]] bool RemoveNarrow(const std::string& name) override;

  private:
    friend class ScriptedFile;

    struct Script {
        struct Order {
            Fault fault;
            bool andLater;
        };
        std::map<int64_t, Order> orders[7];
        int64_t counts[7] = {};
        std::optional<int64_t> freeBytes;
        std::vector<OpenRecord> opens;
        std::vector<RequestRecord> reads, writes;
        int64_t bytesWritten = 0;
        std::string removedBy;
        int ordersExpected = 0;
        bool holdsRequests = false;
        bool servesFromCache = false;
        std::function<void()> beforeEach;
    };

    template <typename Value>
    Value Get(const Value& value) const {
        const std::lock_guard lock(mutex_);
        return value;
    }
    template <typename Place>
    void Set(Place& place, std::type_identity_t<Place> value) {
        const std::lock_guard lock(mutex_);
        place = std::move(value);
    }
    template <typename Record>
    void Add(std::vector<Record>& records, const Record& record) {
        const std::lock_guard lock(mutex_);
        records.push_back(record);
    }

    [[nodiscard]] platform::OpenResult Open(const OpenRecord& record, std::unique_ptr<platform::File>& file);
    // Counts the operation; the fault that it meets.
    std::optional<Fault> Begin(Operation operation);
    // How a write of so many bytes ends.
    platform::WriteResult BeginWrite(const RequestRecord& record);

    mutable std::mutex mutex_;
    Script script_;
};

}  // namespace vantor::test

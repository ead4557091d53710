// What the files for tests share: the file pointer, and overlapped requests over plain reads and writes.
#pragma once

#include "platform/file_system.h"

namespace vantor::test {

// A request is carried out when it starts. One that is held stays pending until somebody waits for it; only
// then its bytes stand in the reader's buffer, so one that looks there too early, or lets it go, is found
// out.
class PlainFile : public platform::File {
  public:
    [[nodiscard]] bool SetPosition(int64_t position) override;
    [[nodiscard]] int64_t Read(void* destination, uint32_t count) override;
    [[nodiscard]] platform::WriteResult Write(const void* source, uint32_t count) override;
    [[nodiscard]] std::unique_ptr<platform::Request> NewRequest() override;
    [[nodiscard]] platform::RequestResult StartRead(platform::Request& request, int64_t offset, void* buffer,
                                                    uint32_t count) override;
    [[nodiscard]] platform::RequestResult StartWrite(platform::Request& request, int64_t offset,
                                                     const void* buffer, uint32_t count) override;
    [[nodiscard]] platform::RequestResult Finish(platform::Request& request, bool wait) override;
    void Abandon(platform::Request& request) override;

  protected:
    [[nodiscard]] int64_t ReadAt(int64_t offset, void* destination, uint32_t count) override = 0;
    [[nodiscard]] virtual platform::WriteResult WriteAt(int64_t offset, const void* source,
                                                        uint32_t count) = 0;
    [[nodiscard]] virtual bool HoldsRequests() const = 0;
    [[nodiscard]] int64_t Position() const { return position_; }

  private:
    int64_t position_ = 0;
};

}  // namespace vantor::test

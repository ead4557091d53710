// Files that a test makes and that go away with it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace vantor::test {

// A folder of its own below the system's temporary folder, removed with all it holds.
class TempFolder {
  public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    // The UTF-8 path of `name` in the folder.
    [[nodiscard]] std::string Path(const std::string& name) const;
    // Writes a file there and returns its path.
    std::string Write(const std::string& name, const std::vector<uint8_t>& bytes) const;

  private:
    std::filesystem::path path_;
};

std::vector<uint8_t> ReadWholeFile(const std::string& path);
void WriteWholeFile(const std::string& path, const std::vector<uint8_t>& bytes);

}  // namespace vantor::test

#include "tests/support/temp_file.h"

#include <atomic>
#include <chrono>
#include <fstream>
#include <stdexcept>

namespace vantor::test {

namespace {

std::filesystem::path FromUtf8(const std::string& path) {
    return std::filesystem::path(std::u8string(path.begin(), path.end()));
}

std::string ToUtf8(const std::filesystem::path& path) {
    const auto text = path.u8string();
    return {text.begin(), text.end()};
}

}  // namespace

TempFolder::TempFolder() {
    static std::atomic<int> counter = 0;
    const auto moment = std::chrono::steady_clock::now().time_since_epoch().count();
    path_ = std::filesystem::temp_directory_path() /
            ("vantor-test-" + std::to_string(moment) + "-" + std::to_string(counter++));
    std::filesystem::create_directories(path_);
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string TempFolder::Path(const std::string& name) const {
    return ToUtf8(path_ / FromUtf8(name));
}

std::string TempFolder::Write(const std::string& name, const std::vector<uint8_t>& bytes) const {
    auto path = Path(name);
    WriteWholeFile(path, bytes);
    return path;
}

std::vector<uint8_t> ReadWholeFile(const std::string& path) {
    std::ifstream file(FromUtf8(path), std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path);
    return {std::istreambuf_iterator<char>(file), {}};
}

void WriteWholeFile(const std::string& path, const std::vector<uint8_t>& bytes) {
    std::ofstream file(FromUtf8(path), std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file) throw std::runtime_error("cannot write " + path);
}

}  // namespace vantor::test

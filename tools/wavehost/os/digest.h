// Message digests, from the system's library.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace vantor::wavehost {

enum class DigestKind { md5, sha256 };

class Digest {
  public:
    // Throws Failure when the library has none of the kind.
    explicit Digest(DigestKind kind);
    ~Digest();
    Digest(const Digest&) = delete;
    Digest& operator=(const Digest&) = delete;

    void Add(const void* bytes, size_t count);
    // Lower-case hexadecimal digits. Once.
    [[nodiscard]] std::string Finish();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

std::string HexText(const unsigned char* bytes, size_t count);

}  // namespace vantor::wavehost

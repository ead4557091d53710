#include <windows.h>
// windows.h comes first: the header below builds on it.
#include <bcrypt.h>

#include "wavehost/os/digest.h"
#include "wavehost/os/failure.h"

namespace vantor::wavehost {

struct Digest::State {
    State() = default;
    ~State() {
        if (hash) BCryptDestroyHash(hash);
        if (algorithm) BCryptCloseAlgorithmProvider(algorithm, 0);
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    BCRYPT_ALG_HANDLE algorithm = nullptr;
    BCRYPT_HASH_HANDLE hash = nullptr;
    ULONG bytes = 0;
};

Digest::Digest(DigestKind kind) : state_(std::make_unique<State>()) {
    const auto* name = kind == DigestKind::md5 ? BCRYPT_MD5_ALGORITHM : BCRYPT_SHA256_ALGORITHM;
    state_->bytes = kind == DigestKind::md5 ? 16 : 32;
    if (BCryptOpenAlgorithmProvider(&state_->algorithm, name, nullptr, 0) < 0 ||
        BCryptCreateHash(state_->algorithm, &state_->hash, nullptr, 0, nullptr, 0, 0) < 0)
        throw Failure("this system computes no such hash");
}

Digest::~Digest() = default;

void Digest::Add(const void* bytes, size_t count) {
    constexpr size_t most = 1u << 30;
    for (const auto* next = static_cast<const UCHAR*>(bytes); count > 0;) {
        const size_t part = count < most ? count : most;
        BCryptHashData(state_->hash, const_cast<UCHAR*>(next), static_cast<ULONG>(part), 0);
        next += part;
        count -= part;
    }
}

std::string Digest::Finish() {
    UCHAR bytes[32];
    if (BCryptFinishHash(state_->hash, bytes, state_->bytes, 0) < 0) throw Failure("the hash failed");
    return HexText(bytes, state_->bytes);
}

}  // namespace vantor::wavehost

#include <openssl/evp.h>

#include "wavehost/os/digest.h"
#include "wavehost/os/failure.h"

namespace vantor::wavehost {

struct FreeContext {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};

struct Digest::State {
    std::unique_ptr<EVP_MD_CTX, FreeContext> context{EVP_MD_CTX_new()};
};

Digest::Digest(DigestKind kind) : state_(std::make_unique<State>()) {
    const EVP_MD* method = kind == DigestKind::md5 ? EVP_md5() : EVP_sha256();
    if (!state_->context || EVP_DigestInit_ex(state_->context.get(), method, nullptr) != 1)
        throw Failure("this system computes no such hash");
}

Digest::~Digest() = default;

void Digest::Add(const void* bytes, size_t count) {
    EVP_DigestUpdate(state_->context.get(), bytes, count);
}

std::string Digest::Finish() {
    unsigned char bytes[EVP_MAX_MD_SIZE];
    unsigned count = 0;
    if (EVP_DigestFinal_ex(state_->context.get(), bytes, &count) != 1) throw Failure("the hash failed");
    return HexText(bytes, count);
}

}  // namespace vantor::wavehost

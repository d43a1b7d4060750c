#include "picture_hash.h"

#include <openssl/evp.h>

#include <array>
#include <stdexcept>

namespace vexoplay {

void PictureHash::Free::operator()(evp_md_ctx_st *context) const {
    EVP_MD_CTX_free(context);
}

PictureHash::PictureHash() : context_(EVP_MD_CTX_new()) {
    begin();
}

PictureHash::~PictureHash() = default;

void PictureHash::begin() {
    // A system that forbids MD5 altogether says so here.
    if (!context_ || EVP_DigestInit_ex(context_.get(), EVP_md5(), nullptr) != 1) {
        throw std::runtime_error("libcrypto offers no MD5 here");
    }
}

void PictureHash::add(const I420View &picture) {
    picture.forEachRow([this](const uint8_t *row, std::size_t bytes) { EVP_DigestUpdate(context_.get(), row, bytes); });
}

std::string PictureHash::finish() {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int size = 0;
    EVP_DigestFinal_ex(context_.get(), digest.data(), &size);
    begin();
    std::string text;
    for (unsigned int i = 0; i < size; ++i) {
        text += "0123456789abcdef"[digest[i] >> 4];
        text += "0123456789abcdef"[digest[i] & 15];
    }
    return text;
}

}  // namespace vexoplay

#include "platform/common/Sha1.h"

#include <memory>

#include <openssl/evp.h>

namespace Pt {

namespace {

struct AlgorithmDeleter {
    void operator()(EVP_MD* algorithm) const { EVP_MD_free(algorithm); }
};

struct ContextDeleter {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};

// Looking it up costs more than a short digest, so it is done once, and undone when the library
// that this is part of is unloaded.
EVP_MD const* algorithm()
{
    static std::unique_ptr<EVP_MD, AlgorithmDeleter> const fetched(
        EVP_MD_fetch(nullptr, "SHA1", nullptr));
    return fetched.get();
}

} // namespace

std::optional<Sha1Digest> sha1(std::initializer_list<std::string_view> pieces)
{
    std::unique_ptr<EVP_MD_CTX, ContextDeleter> const context(EVP_MD_CTX_new());
    if (!algorithm() || !context || EVP_DigestInit_ex2(context.get(), algorithm(), nullptr) != 1)
        return std::nullopt;
    for (std::string_view const piece : pieces) {
        if (EVP_DigestUpdate(context.get(), piece.data(), piece.size()) != 1)
            return std::nullopt;
    }
    Sha1Digest digest{};
    if (EVP_DigestFinal_ex(context.get(), digest.data(), nullptr) != 1)
        return std::nullopt;
    return digest;
}

} // namespace Pt

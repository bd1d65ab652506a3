#include "platform/common/Sha1.h"

#include <atomic>
#include <memory>
#include <utility>

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

using Context = std::unique_ptr<EVP_MD_CTX, ContextDeleter>;

// One context is kept between two digests: making it anew costs half as much as a short digest.
class KeptContext {
public:
    KeptContext() = default;
    KeptContext(KeptContext const&) = delete;
    KeptContext& operator=(KeptContext const&) = delete;
    ~KeptContext() { EVP_MD_CTX_free(m_context); }

    Context take()
    {
        EVP_MD_CTX* const context = m_context.exchange(nullptr);
        return Context(context ? context : EVP_MD_CTX_new());
    }
    void giveBack(Context context) { Context const former(m_context.exchange(context.release())); }

private:
    std::atomic<EVP_MD_CTX*> m_context{nullptr};
};

KeptContext& keptContext()
{
    static KeptContext kept;
    return kept;
}

} // namespace

std::optional<Sha1Digest> sha1(std::initializer_list<std::string_view> pieces)
{
    Context context = keptContext().take();
    if (!algorithm() || !context || EVP_DigestInit_ex2(context.get(), algorithm(), nullptr) != 1)
        return std::nullopt;
    for (std::string_view const piece : pieces) {
        if (EVP_DigestUpdate(context.get(), piece.data(), piece.size()) != 1)
            return std::nullopt;
    }
    Sha1Digest digest{};
    if (EVP_DigestFinal_ex(context.get(), digest.data(), nullptr) != 1)
        return std::nullopt;
    keptContext().giveBack(std::move(context));
    return digest;
}

} // namespace Pt

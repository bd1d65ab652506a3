#include "platform/common/ports/Sha1.h"

#include <algorithm>
#include <array>
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
const EVP_MD* algorithm()
{
    static const std::unique_ptr<EVP_MD, AlgorithmDeleter> fetched(
        EVP_MD_fetch(nullptr, "SHA1", nullptr));
    return fetched.get();
}

using Context = std::unique_ptr<EVP_MD_CTX, ContextDeleter>;

// One context is kept between two digests: making it anew costs half as much as a short digest.
class KeptContext {
public:
    KeptContext() = default;
    KeptContext(const KeptContext&) = delete;
    KeptContext& operator=(const KeptContext&) = delete;
    ~KeptContext() { EVP_MD_CTX_free(m_context); }

    // Taken out while it is used, so that two threads never have the same one; the second makes its
    // own.
    Context take()
    {
        EVP_MD_CTX* const context = m_context.exchange(nullptr);
        return Context(context ? context : EVP_MD_CTX_new());
    }
    // Of several that come back one is kept, the latest.
    void giveBack(Context context) { const Context former(m_context.exchange(context.release())); }

private:
    std::atomic<EVP_MD_CTX*> m_context{nullptr};
};

KeptContext& keptContext()
{
    static KeptContext kept;
    return kept;
}

// Pieces that are short together, as one: taking each by itself costs more than to copy them.
class Gathered {
public:
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): clearing would cost the gain
    Gathered(std::initializer_list<std::string_view> pieces)
    {
        std::size_t size = 0;
        for (const std::string_view piece : pieces)
            size += piece.size();
        if (size > m_bytes.size())
            return;
        char* end = m_bytes.data();
        for (const std::string_view piece : pieces)
            end = std::copy(piece.begin(), piece.end(), end);
        m_whole = {m_bytes.data(), size};
    }
    bool isOne() const { return m_whole.data() != nullptr; }
    std::string_view whole() const { return m_whole; }

private:
    // As much as the head of a usual message takes, with some room. Left unfilled.
    std::array<char, 1024> m_bytes;
    std::string_view m_whole;
};

bool update(EVP_MD_CTX* context, std::string_view text)
{
    return EVP_DigestUpdate(context, text.data(), text.size()) == 1;
}

} // namespace

std::optional<Sha1Digest> sha1(std::initializer_list<std::string_view> pieces)
{
    Context context = keptContext().take();
    if (!algorithm() || !context || EVP_DigestInit_ex2(context.get(), algorithm(), nullptr) != 1)
        return std::nullopt;
    if (const Gathered gathered(pieces); gathered.isOne()) {
        if (!update(context.get(), gathered.whole()))
            return std::nullopt;
    } else {
        for (const std::string_view piece : pieces)
            if (!update(context.get(), piece))
                return std::nullopt;
    }
    Sha1Digest digest{};
    // After a failure the context is not given back: nobody knows its state.
    if (EVP_DigestFinal_ex(context.get(), digest.data(), nullptr) != 1)
        return std::nullopt;
    keptContext().giveBack(std::move(context));
    return digest;
}

} // namespace Pt

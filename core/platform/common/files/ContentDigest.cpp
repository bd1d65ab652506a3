#include "platform/common/files/ContentDigest.h"

#include <stdexcept>

#include <openssl/evp.h>

namespace Pt {

namespace {

struct ContextDeleter {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};

void require(int result)
{
    if (result != 1)
        throw std::runtime_error("the digest library refuses SHA-256");
}

} // namespace

struct ContentDigester::State {
    std::unique_ptr<EVP_MD_CTX, ContextDeleter> context{EVP_MD_CTX_new()};
};

ContentDigester::ContentDigester()
    : m_state(std::make_unique<State>())
{
    if (!m_state->context)
        throw std::bad_alloc();
    require(EVP_DigestInit_ex(m_state->context.get(), EVP_sha256(), nullptr));
}

ContentDigester::~ContentDigester() = default;

void ContentDigester::add(const void* bytes, std::size_t count)
{
    require(EVP_DigestUpdate(m_state->context.get(), bytes, count));
    m_size += count;
}

ContentDigest ContentDigester::finish()
{
    ContentDigest digest;
    digest.size = m_size;
    require(EVP_DigestFinal_ex(m_state->context.get(), digest.sha256.data(), nullptr));
    // Ready for the next content: the library takes no more bytes after the final step.
    require(EVP_DigestInit_ex(m_state->context.get(), EVP_sha256(), nullptr));
    m_size = 0;
    return digest;
}

} // namespace Pt

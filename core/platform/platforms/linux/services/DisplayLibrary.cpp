#include "platform/platforms/linux/services/DisplayLibrary.h"

#include <dlfcn.h>

namespace Pt {

DisplayLibrary::DisplayLibrary()
    : m_handle(::dlopen("libxcb.so.1", RTLD_NOW | RTLD_LOCAL))
    , m_isThere(m_handle != nullptr)
{
}

DisplayLibrary::~DisplayLibrary()
{
    if (m_handle != nullptr)
        ::dlclose(m_handle);
}

void* DisplayLibrary::symbol(const char* name)
{
    void* const found = m_handle != nullptr ? ::dlsym(m_handle, name) : nullptr;
    m_isThere &= found != nullptr;
    return found;
}

} // namespace Pt

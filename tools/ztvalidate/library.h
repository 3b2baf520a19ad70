/// A shared object, loaded without the module's or a plugin's own calls.
#pragma once

#include "tools/ztvalidate/check.h"

#include <dlfcn.h>

namespace zta::validate {

class Library {
public:
    /// flags  for the loader, besides RTLD_NOW and RTLD_LOCAL
    /// Throws CheckFailure with the loader's message.
    explicit Library(const std::string& path, int flags = 0)
        : handle_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | flags))
    {
        if (handle_ == nullptr) {
            throw CheckFailure(dlerror());
        }
    }
    ~Library() { dlclose(handle_); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    [[nodiscard]] void* Handle() const { return handle_; }

    /// The address of an exported name as a pointer of type F, null if there is none.
    template <class F>
    [[nodiscard]] F Find(const char* name) const
    {
        return reinterpret_cast<F>(dlsym(handle_, name));
    }

private:
    void* handle_;
};

} // namespace zta::validate

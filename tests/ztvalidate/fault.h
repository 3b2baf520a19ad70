/// Which fault a fixture has: its file's name up to ".so" tells. "a.b" breaks what the check a.b looks at; "a.b~c"
/// breaks it in another way.
#pragma once

#include <string>

#include <dlfcn.h>

inline std::string FaultOf(const void* addressInFixture)
{
    Dl_info info{};
    dladdr(addressInFixture, &info);
    const std::string path = info.dli_fname;
    const std::string name = path.substr(path.rfind('/') + 1);
    return name.substr(0, name.rfind(".so"));
}

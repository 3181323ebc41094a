// The shared library as an application has it: loaded by its name, its functions
// found by theirs.
#pragma once

#include <cstring>
#include <stdexcept>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

constexpr const char* exportedNames[] = {
#include "exported_names.inc"
};

class Library
{
public:
#if defined(_WIN32)
    Library() : module(LoadLibraryA("QuibTool.dll"))
    {
        if (!module)
            throw std::runtime_error("QuibTool.dll cannot be loaded");
    }
    ~Library()
    {
        FreeLibrary(module);
    }
#else
    Library() : module(dlopen("libQuibTool.so", RTLD_NOW | RTLD_LOCAL))
    {
        if (!module)
            throw std::runtime_error(dlerror());
    }
    ~Library()
    {
        dlclose(module);
    }
#endif
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    bool isLoaded() const
    {
        return module != nullptr;
    }
    bool has(const char* name) const
    {
        return address(name) != nullptr;
    }
    template<class Function>
    Function* get(const char* name) const
    {
        return reinterpret_cast<Function*>(address(name));
    }

private:
#if defined(_WIN32)
    void (*address(const char* name) const)()
    {
        return reinterpret_cast<void (*)()>(GetProcAddress(module, name));
    }
    HMODULE module;
#else
    void* address(const char* name) const
    {
        return dlsym(module, name);
    }
    void* module;
#endif
};

// The name that a function with C++ linkage is exported under: the one that has its
// own inside. Empty if there is none, or if it is not decorated.
inline const char* decoratedName(const char* function)
{
    for (const char* name : exportedNames)
        if (strstr(name, function) && strcmp(name, function) != 0)
            return name;
    return "";
}

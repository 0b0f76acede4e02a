#pragma once

// Private to the library: objects that are shared by name while they are in use.

#include "ZelWin32/CriticalSection.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace ZelCore::Diagnostics {

template <class T> struct Registry {
    ZelWin32::CCriticalSection lock;
    std::map<std::wstring, std::weak_ptr<T>> objects;

    template <class Make> std::shared_ptr<T> GetOrMake(const wchar_t* name, Make make) {
        const std::lock_guard<ZelWin32::CCriticalSection> guard(lock);
        if (const auto found = objects.find(name); found != objects.end()) {
            if (auto object = found->second.lock()) {
                return object;
            }
        }
        std::shared_ptr<T> object = make();
        objects[name] = object;
        return object;
    }
};

} // namespace ZelCore::Diagnostics

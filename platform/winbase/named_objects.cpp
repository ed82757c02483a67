#include "platform/winbase/named_objects.h"

#include <map>
#include <mutex>
#include <string>

namespace winbase
{
namespace
{

struct NameSpace
{
    std::mutex m_mutex;
    std::map<std::wstring, std::weak_ptr<Waitable>, std::less<>> m_mapObjects;
};

// Never destroyed: threads may outlive the program's static objects.
NameSpace& Names()
{
    static NameSpace& s_names = *new NameSpace;
    return s_names;
}

}  // namespace

std::shared_ptr<Waitable> FindOrRegister(LPCWSTR lpName, const std::function<std::shared_ptr<Waitable>()>& make,
                                         bool* pbExisted)
{
    *pbExisted = false;
    if (!lpName || !*lpName)
    {
        return make();
    }
    NameSpace& names = Names();
    const std::lock_guard lock(names.m_mutex);
    std::weak_ptr<Waitable>& entry = names.m_mapObjects[lpName];
    if (auto pObject = entry.lock())
    {
        *pbExisted = true;
        return pObject;
    }
    auto pObject = make();
    entry = pObject;
    std::erase_if(names.m_mapObjects, [](const auto& named) { return named.second.expired(); });
    return pObject;
}

std::shared_ptr<Waitable> FindRegistered(LPCWSTR lpName)
{
    if (!lpName)
    {
        return nullptr;
    }
    NameSpace& names = Names();
    const std::lock_guard lock(names.m_mutex);
    const auto it = names.m_mapObjects.find(std::wstring_view(lpName));
    return it == names.m_mapObjects.end() ? nullptr : it->second.lock();
}

}  // namespace winbase

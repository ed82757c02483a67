// The properties of an object.
#pragma once

#include <algorithm>
#include <cwchar>
#include <mutex>
#include <stdexcept>
#include <vector>

#include "runtimes/amf/counted.h"
#include "runtimes/amf/property_value.h"

namespace amfruntime
{

// An object that keeps any property that it is given. Any thread. A class with rules of its own overrides
// CheckProperty.
template <typename TInterface, typename... TParents>
class WithProperties : public Counted<TInterface, AMFPropertyStorage, TParents...>
{
public:
    AMF_RESULT SetProperty(const wchar_t* name, AMFVariantStruct value) override
    {
        if (!name)
        {
            return AMF_INVALID_POINTER;
        }
        const AMF_RESULT eResult = CheckProperty(name, value);
        return eResult == AMF_OK ? Store(name, value) : eResult;
    }

    AMF_RESULT GetProperty(const wchar_t* name, AMFVariantStruct* pValue) const override
    {
        if (!name || !pValue)
        {
            return AMF_INVALID_POINTER;
        }
        const std::lock_guard lock(m_propertyMutex);
        const auto it = m_properties.find(name);
        return it == m_properties.end() ? AMF_NOT_FOUND : Give(it->second, pValue);
    }

    amf_bool HasProperty(const wchar_t* name) const override
    {
        const std::lock_guard lock(m_propertyMutex);
        return name && m_properties.contains(name);
    }

    amf_size GetPropertyCount() const override
    {
        const std::lock_guard lock(m_propertyMutex);
        return m_properties.size();
    }

    // In the order of the names. nameSize counts characters; a name is cut to fit.
    AMF_RESULT GetPropertyAt(amf_size index, wchar_t* name, amf_size nameSize, AMFVariantStruct* pValue) const override
    {
        if (!name || !pValue || nameSize == 0)
        {
            return AMF_INVALID_POINTER;
        }
        const std::lock_guard lock(m_propertyMutex);
        if (index >= m_properties.size())
        {
            return AMF_OUT_OF_RANGE;
        }
        const auto it = std::next(m_properties.begin(), static_cast<std::ptrdiff_t>(index));
        const amf_size uiLength = std::min(it->first.size(), nameSize - 1);
        std::wmemcpy(name, it->first.c_str(), uiLength);
        name[uiLength] = L'\0';
        return Give(it->second, pValue);
    }

    AMF_RESULT Clear() override
    {
        const std::lock_guard lock(m_propertyMutex);
        m_properties.clear();
        return AMF_OK;
    }

    // Objects among the values are shared, whatever deep says.
    AMF_RESULT AddTo(AMFPropertyStorage* pDest, amf_bool overwrite, amf_bool /*deep*/) const override
    {
        if (!pDest)
        {
            return AMF_INVALID_POINTER;
        }
        AMF_RESULT eResult = AMF_OK;
        for (const auto& [name, value] : Properties())
        {
            if (overwrite || !pDest->HasProperty(name.c_str()))
            {
                const AMF_RESULT eOne = pDest->SetProperty(name.c_str(), value.Get());
                eResult = eResult == AMF_OK ? eOne : eResult;
            }
        }
        return eResult;
    }

    AMF_RESULT CopyTo(AMFPropertyStorage* pDest, amf_bool deep) const override
    {
        if (!pDest)
        {
            return AMF_INVALID_POINTER;
        }
        const AMF_RESULT eResult = pDest->Clear();
        return eResult == AMF_OK ? AddTo(pDest, true, deep) : eResult;
    }

    // An observer is called on the thread that sets the property, without any lock.
    void AddObserver(AMFPropertyStorageObserver* pObserver) override
    {
        const std::lock_guard lock(m_propertyMutex);
        m_observers.push_back(pObserver);
    }

    void RemoveObserver(AMFPropertyStorageObserver* pObserver) override
    {
        const std::lock_guard lock(m_propertyMutex);
        std::erase(m_observers, pObserver);
    }

    // A copy.
    PropertyMap Properties() const
    {
        const std::lock_guard lock(m_propertyMutex);
        return m_properties;
    }

    void SetProperties(PropertyMap properties)
    {
        const std::lock_guard lock(m_propertyMutex);
        m_properties = std::move(properties);
    }

protected:
    // What SetProperty returns for a value that isn't to be kept.
    virtual AMF_RESULT CheckProperty(const wchar_t* /*pwszName*/, const AMFVariantStruct& /*value*/) const
    {
        return AMF_OK;
    }

    // Without the check.
    AMF_RESULT Store(const wchar_t* pwszName, const AMFVariantStruct& value)
    {
        std::vector<AMFPropertyStorageObserver*> observers;
        try
        {
            PropertyValue copy(value);
            const std::lock_guard lock(m_propertyMutex);
            m_properties.insert_or_assign(pwszName, std::move(copy));
            observers = m_observers;
        }
        catch (const std::invalid_argument&)
        {
            return AMF_INVALID_ARG;
        }
        catch (...)
        {
            return AMF_OUT_OF_MEMORY;
        }
        for (AMFPropertyStorageObserver* pObserver : observers)
        {
            pObserver->OnPropertyChanged(pwszName);
        }
        return AMF_OK;
    }

private:
    static AMF_RESULT Give(const PropertyValue& value, AMFVariantStruct* pValue)
    {
        try
        {
            *pValue = PropertyValue(value).Detach();
            return AMF_OK;
        }
        catch (...)
        {
            return AMF_OUT_OF_MEMORY;
        }
    }

    mutable std::mutex m_propertyMutex;
    PropertyMap m_properties;
    std::vector<AMFPropertyStorageObserver*> m_observers;
};

}  // namespace amfruntime

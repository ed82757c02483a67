// One flat JSON object, written member by member.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qmhost
{

// Text with its quotes, everything escaped that JSON wants escaped. Bytes that aren't UTF-8 become U+FFFD.
std::string JsonString(std::string_view text);

class JsonObject
{
public:
    void Add(std::string_view name, std::string_view value) { AddRaw(name, JsonString(value)); }
    void Add(std::string_view name, const char* pszValue) { Add(name, std::string_view(pszValue)); }
    void Add(std::string_view name, std::int64_t nValue) { AddRaw(name, std::to_string(nValue)); }
    void Add(std::string_view name, bool bValue) { AddRaw(name, bValue ? "true" : "false"); }
    // The shortest text that reads back as the same number; null for what is no number.
    void Add(std::string_view name, double dValue);
    void AddNull(std::string_view name) { AddRaw(name, "null"); }
    void Add(std::string_view name, const std::optional<double>& dValue);  // null when there is none

    // The object, a member a line.
    std::string Text() const;

private:
    void AddRaw(std::string_view name, std::string_view value);

    std::string m_strMembers;
};

}  // namespace qmhost

#include "parts/json.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "parts/text.h"

namespace qmhost
{

std::string JsonString(std::string_view text)
{
    std::string strValid;
    if (!WideFromUtf8(text))
    {
        for (const char c : text)
            strValid += static_cast<unsigned char>(c) < 0x80 ? std::string(1, c) : "\xEF\xBF\xBD";
        text = strValid;
    }
    std::string out = "\"";
    for (const char c : text)
    {
        if (c == '"' || c == '\\')
        {
            out += {'\\', c};
        }
        else if (static_cast<unsigned char>(c) < 0x20)
        {
            std::array<char, 8> acEscape{};
            std::snprintf(acEscape.data(), acEscape.size(), "\\u%04x", static_cast<unsigned>(c));
            out += acEscape.data();
        }
        else
        {
            out += c;
        }
    }
    return out + '"';
}

void JsonObject::Add(std::string_view name, double dValue)
{
    if (!std::isfinite(dValue))
    {
        AddNull(name);
        return;
    }
    std::array<char, 32> acNumber{};
    const auto result = std::to_chars(acNumber.data(), acNumber.data() + acNumber.size(), dValue);
    AddRaw(name, std::string_view(acNumber.data(), static_cast<std::size_t>(result.ptr - acNumber.data())));
}

void JsonObject::Add(std::string_view name, const std::optional<double>& dValue)
{
    if (dValue)
    {
        Add(name, *dValue);
    }
    else
    {
        AddNull(name);
    }
}

std::string JsonObject::Text() const
{
    return "{\n" + m_strMembers + "\n}\n";
}

void JsonObject::AddRaw(std::string_view name, std::string_view value)
{
    if (!m_strMembers.empty()) m_strMembers += ",\n";
    m_strMembers += "  " + JsonString(name) + ": " + std::string(value);
}

}  // namespace qmhost

// Text between its three forms: UTF-8 (the command line, messages), the host's wide text, and the system's paths.
#pragma once

#include <charconv>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace qmhost
{

// Nothing when the text isn't UTF-8: overlong forms, surrogates and numbers above U+10FFFF count as wrong. Wide text
// is UTF-16 where wchar_t has 16 bits and UTF-32 where it has 32.
std::optional<std::wstring> WideFromUtf8(std::string_view text);

// A unit that is no character, such as half a surrogate pair, becomes U+FFFD.
std::string Utf8FromWide(std::wstring_view text);

// Keeps the bytes as they are where the system's paths are bytes, whatever the locale. Elsewhere text that isn't UTF-8
// throws std::exception.
std::filesystem::path PathFromUtf8(std::string_view text);
std::string Utf8FromPath(const std::filesystem::path& path);

// The number that the whole text is, in the same way in every locale. Nothing for other texts and for what doesn't fit.
template <class TNumber>
std::optional<TNumber> NumberFromText(std::string_view text)
{
    TNumber number{};
    const auto [pEnd, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || pEnd != text.data() + text.size()) return std::nullopt;
    return number;
}

// The text in single quotes, control characters as \xNN, so that a message stays one line whatever a file is called.
std::string Quoted(std::string_view text);

}  // namespace qmhost

// A place in a list of tokens, for the walk over a list of options.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// Holds a reference to the tokens, which have to outlive it. May stand past the last token, where it is no option.
class OptionCursor
{
public:
    explicit OptionCursor(const std::vector<std::string>& vTokens) : m_vTokens(vTokens) {}

    bool IsAtEnd() const { return m_uiPlace >= m_vTokens.size(); }
    void Advance() { ++m_uiPlace; }

    // Whether the token here is this option.
    bool Is(const char* pszOption) const { return !IsAtEnd() && m_vTokens[m_uiPlace] == pszOption; }

    // Steps over this option to its value, if there is one.
    bool Skips(const char* pszOption)
    {
        if (!Is(pszOption)) return false;
        Advance();
        return true;
    }

    // Steps to this option's value and parses it: bool parse(const std::string&). Gives whether the token was this
    // option, had a value and the value was parsed; the cursor stays on the value in any case.
    template <typename TParse>
    bool Takes(const char* pszOption, TParse parse)
    {
        return Skips(pszOption) && !IsAtEnd() && parse(m_vTokens[m_uiPlace]);
    }

    // The token that a failure names: the one here, or the last one if its value is missing.
    const std::string& GetTokenToBlame() const { return IsAtEnd() ? m_vTokens.back() : m_vTokens[m_uiPlace]; }

private:
    const std::vector<std::string>& m_vTokens;
    std::size_t m_uiPlace = 0;
};

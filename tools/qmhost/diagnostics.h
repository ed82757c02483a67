// What the module says beside its status codes.
#pragma once

#include <mutex>
#include <string>

namespace qmhost
{

// Takes the module's diagnostics as long as it lives; one object at a time. Shows them on standard error, or
// else keeps the last text, which is the reason of a failure.
class Diagnostics
{
public:
    explicit Diagnostics(bool bShow);
    ~Diagnostics();
    Diagnostics(const Diagnostics&) = delete;
    Diagnostics& operator=(const Diagnostics&) = delete;

    // Whether the user wants to see more than results.
    bool AreShown() const { return m_bShow; }

    // What an operation says from here on is its own.
    void Forget();
    // The last text since then, as one line; "" for none, and when all are shown anyway.
    std::string LastText();

private:
    static void Take(const char* pszFile, int nLine, const wchar_t* pwszText, void* pThis);

    const bool m_bShow;
    std::mutex m_mutex;  // the module may have threads
    std::string m_strLast;
};

}  // namespace qmhost

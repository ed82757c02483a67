#include "hostapi/hostplatform.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace
{

struct SLine
{
    std::string m_strFile;
    int m_nLine;
    std::wstring m_strText;
};

// Collects every line during its lifetime. The container needs no lock, since lines come one at a time.
class CCapture
{
public:
    CCapture() { QM_SetDiagSink(Take, this); }
    ~CCapture() { QM_SetDiagSink(nullptr, nullptr); }

    std::vector<SLine> m_vLines;

private:
    static void Take(const char* pszFile, int nLine, const wchar_t* pwszText, void* pUser)
    {
        static_cast<CCapture*>(pUser)->m_vLines.push_back({pszFile, nLine, pwszText});
    }
};

template <typename... TArguments>
std::wstring Format(const wchar_t* pwszFormat, TArguments... arguments)
{
    CCapture capture;
    DiagOutputExW(pwszFormat, arguments...);
    return capture.m_vLines.size() == 1 ? capture.m_vLines[0].m_strText : L"not one line";
}

}  // namespace

TEST(Diagnostics, ALineHasThePlaceThatWasSet)
{
    CCapture capture;
    DiagOutputExW_hlp("some/source.cpp", 145, 0);
    DiagOutputExW(L"first");
    DiagOutputExW(L"second");
    DiagOutputExW_hlp(nullptr, 7, 0);
    DiagOutputExW(L"third");
    ASSERT_EQ(capture.m_vLines.size(), 3u);
    EXPECT_EQ(capture.m_vLines[0].m_strFile, "some/source.cpp");
    EXPECT_EQ(capture.m_vLines[0].m_nLine, 145);
    EXPECT_EQ(capture.m_vLines[0].m_strText, L"first");
    EXPECT_EQ(capture.m_vLines[1].m_strFile, "");  // a place is used for one line only
    EXPECT_EQ(capture.m_vLines[1].m_nLine, 0);
    EXPECT_EQ(capture.m_vLines[2].m_strFile, "");
    EXPECT_EQ(capture.m_vLines[2].m_nLine, 7);
}

TEST(Diagnostics, WithoutASinkAreDropped)
{
    DiagOutputExW_hlp("some/source.cpp", 1, 0);
    DiagOutputExW(L"nobody takes %s", L"this");
    CCapture capture;
    DiagOutputExW(L"this one is taken");
    ASSERT_EQ(capture.m_vLines.size(), 1u);
    EXPECT_EQ(capture.m_vLines[0].m_strFile, "");  // the dropped line used the place
}

TEST(Diagnostics, ANewSinkReplacesTheOldOne)
{
    CCapture first;
    DiagOutputExW(L"one");
    {
        CCapture second;
        DiagOutputExW(L"two");
        EXPECT_EQ(second.m_vLines.size(), 1u);
    }
    DiagOutputExW(L"three");
    EXPECT_EQ(first.m_vLines.size(), 1u);
}

TEST(Diagnostics, ASinkMayReplaceItself)
{
    static int nCalls = 0;
    nCalls = 0;
    QM_SetDiagSink(
        [](const char*, int, const wchar_t*, void*) {
            ++nCalls;
            QM_SetDiagSink(nullptr, nullptr);
        },
        nullptr);
    DiagOutputExW(L"one");
    DiagOutputExW(L"two");
    EXPECT_EQ(nCalls, 1);
}

TEST(Diagnostics, ASinksOwnLinesAreDropped)
{
    static int nCalls = 0;
    nCalls = 0;
    QM_SetDiagSink(
        [](const char*, int, const wchar_t*, void*) {
            ++nCalls;
            DiagOutputExW(L"this would never end");
        },
        nullptr);
    DiagOutputExW(L"one");
    DiagOutputExW(L"two");
    QM_SetDiagSink(nullptr, nullptr);
    EXPECT_EQ(nCalls, 2);
}

TEST(Diagnostics, EachThreadHasItsOwnPlaceAndLinesComeOneAtATime)
{
    constexpr int THREADS = 4;
    constexpr int LINES = 500;
    CCapture capture;
    std::vector<std::thread> vThreads;
    for (int i = 0; i < THREADS; ++i)
    {
        vThreads.emplace_back([i] {
            for (int k = 0; k < LINES; ++k)
            {
                DiagOutputExW_hlp("file", i * LINES + k, 0);
                DiagOutputExW(L"%d", i * LINES + k);
            }
        });
    }
    for (std::thread& thread : vThreads)
        thread.join();
    ASSERT_EQ(capture.m_vLines.size(), static_cast<std::size_t>(THREADS * LINES));
    for (const SLine& line : capture.m_vLines)
        EXPECT_EQ(line.m_strText, std::to_wstring(line.m_nLine));
}

TEST(Diagnostics, SinksAreReplacedWhileLinesAreWritten)
{
    std::atomic<bool> bStop = false;
    std::thread writer([&bStop] {
        while (!bStop)
            DiagOutputExW(L"line");
    });
    std::size_t uiLines = 0;
    for (int i = 0; i < 200 || uiLines == 0; ++i)
    {
        CCapture capture;  // destroyed at the end of each turn, with its list of lines
        std::this_thread::yield();
        QM_SetDiagSink(nullptr, nullptr);
        uiLines += capture.m_vLines.size();
    }
    bStop = true;
    writer.join();
    EXPECT_GT(uiLines, 0u);
}

TEST(DiagFormat, PlainTextStaysAsItIs)
{
    EXPECT_EQ(Format(L""), L"");
    EXPECT_EQ(Format(L"plain \u00e4\u65e5\U0001F600\n"), L"plain \u00e4\u65e5\U0001F600\n");
    EXPECT_EQ(Format(L"100%%, %%d"), L"100%, %d");
}

TEST(DiagFormat, TextIsWideUnlessTheFormatSaysOtherwise)
{
    EXPECT_EQ(Format(L"[%s]", L"\u00e4\u65e5\U0001F600"), L"[\u00e4\u65e5\U0001F600]");
    EXPECT_EQ(Format(L"[%ls] [%lS]", L"one", L"two"), L"[one] [two]");
    EXPECT_EQ(Format(L"[%S] [%hs] [%hS]", "one", "two", "three"), L"[one] [two] [three]");
    EXPECT_EQ(Format(L"[%S]", "\xC3\xA4\xE6\x97\xA5\xF0\x9F\x98\x80\xFF"), L"[\u00e4\u65e5\U0001F600\uFFFD]");
    EXPECT_EQ(Format(L"MP4: set active codec: %d: %s - %s", 5, L"NVENC1", L"H.264 Nvdia NVENC"),
              L"MP4: set active codec: 5: NVENC1 - H.264 Nvdia NVENC");
}

TEST(DiagFormat, TextHasWidthAndPrecision)
{
    EXPECT_EQ(Format(L"[%5s] [%-5s] [%2s]", L"abc", L"abc", L"abc"), L"[  abc] [abc  ] [abc]");
    EXPECT_EQ(Format(L"[%.2s] [%.s] [%.9s] [%5.2s]", L"abc", L"abc", L"abc", L"abc"), L"[ab] [] [abc] [   ab]");
    EXPECT_EQ(Format(L"[%*s] [%*s] [%.*s] [%.*s]", 4, L"a", -4, L"a", 1, L"abc", -1, L"abc"),
              L"[   a] [a   ] [a] [abc]");
    EXPECT_EQ(Format(L"[%.2S] [%4S]", "\xC3\xA4\xC3\xB6\xC3\xBC", "\xC3\xA4"), L"[\u00e4\u00f6] [   \u00e4]");
}

TEST(DiagFormat, PrecisionLimitsWhatIsReadOfAText)
{
    const wchar_t awchText[2] = {L'a', L'b'};  // no nul after them
    const char achText[2] = {'a', 'b'};
    EXPECT_EQ(Format(L"[%.2s] [%.*S]", awchText, 2, achText), L"[ab] [ab]");
}

TEST(DiagFormat, PrecisionNeverCutsACharacterOfNarrowText)
{
    // One unit in UTF-32, two in UTF-16: the character is written whole or not at all.
    const wchar_t* pwszExpected = sizeof(wchar_t) == 2 ? L"[a]" : L"[a\U0001F600]";
    EXPECT_EQ(Format(L"[%.2S]", "a\xF0\x9F\x98\x80z"), pwszExpected);
}

TEST(DiagFormat, NullTextIsShown)
{
    EXPECT_EQ(Format(L"[%s]", static_cast<const wchar_t*>(nullptr)), L"[(null)]");
    EXPECT_EQ(Format(L"[%S]", static_cast<const char*>(nullptr)), L"[(null)]");
}

TEST(DiagFormat, CharactersAreWideUnlessTheFormatSaysOtherwise)
{
    EXPECT_EQ(Format(L"[%c] [%lc] [%3c] [%-3c]", L'\u65e5', L'\u00e4', L'x', L'x'), L"[\u65e5] [\u00e4] [  x] [x  ]");
    EXPECT_EQ(Format(L"[%C] [%hc] [%C]", 'a', 'b', '\xE4'), L"[a] [b] [\uFFFD]");
}

TEST(DiagFormat, Integers)
{
    EXPECT_EQ(Format(L"%d %i %d", 42, -42, std::numeric_limits<int>::min()), L"42 -42 -2147483648");
    EXPECT_EQ(Format(L"[%5d] [%-5d] [%05d] [%+d] [% d] [%.4d] [%6.4d]", 42, 42, 42, 42, 42, 42, 42),
              L"[   42] [42   ] [00042] [+42] [ 42] [0042] [  0042]");
    EXPECT_EQ(Format(L"[%*d] [%*d] [%-*d]", 5, 42, -5, 42, 5, 42), L"[   42] [42   ] [42   ]");
    EXPECT_EQ(Format(L"%u %x %X %#x %o %#o", 4294967295u, 0xBEEFu, 0xBEEFu, 0xBEEFu, 8u, 8u),
              L"4294967295 beef BEEF 0xbeef 10 010");
}

TEST(DiagFormat, IntegersOfEveryLength)
{
    EXPECT_EQ(Format(L"%hhd %hhu %hd %hu", 300, 300, 70000, 70000), L"44 44 4464 4464");
    EXPECT_EQ(Format(L"%hhd %hd", 200, 40000), L"-56 -25536");
    EXPECT_EQ(Format(L"%ld %lu", -5l, 5ul), L"-5 5");
    EXPECT_EQ(Format(L"%lld %llu", -9223372036854775807ll - 1, 18446744073709551615ull),
              L"-9223372036854775808 18446744073709551615");
    EXPECT_EQ(Format(L"%I64d %I64u %I64x", std::int64_t{-1}, ~std::uint64_t{0}, std::uint64_t{1} << 40),
              L"-1 18446744073709551615 10000000000");
    EXPECT_EQ(Format(L"%zu %zd %td", ~std::size_t{0}, std::ptrdiff_t{-7}, std::ptrdiff_t{-8}),
              L"18446744073709551615 -7 -8");
    EXPECT_EQ(Format(L"%jd %ju", std::intmax_t{-9}, ~std::uintmax_t{0}), L"-9 18446744073709551615");
}

TEST(DiagFormat, FloatingPoint)
{
    EXPECT_EQ(Format(L"NVENC %.2lf ms", 3.14159), L"NVENC 3.14 ms");
    EXPECT_EQ(Format(L"%f %F %.0f %#.0f", 1.5, -1.5, 2.0, 2.0), L"1.500000 -1.500000 2 2.");
    EXPECT_EQ(Format(L"%e %.1E %g %G %g", 1500.0, 1500.0, 0.0001, 1e-5, 1e20),
              L"1.500000e+03 1.5E+03 0.0001 1E-05 1e+20");
    EXPECT_EQ(Format(L"[%8.3f] [%-8.3f] [%08.3f] [%+.1f] [% .1f]", 1.5, 1.5, -1.5, 1.5, 1.5),
              L"[   1.500] [1.500   ] [-001.500] [+1.5] [ 1.5]");
    EXPECT_EQ(Format(L"%.*f %*.*f", 1, 2.25, 6, 2, 1.5), L"2.2   1.50");
    EXPECT_EQ(Format(L"%.2Lf %.1f", 0.25L, 0.5), L"0.25 0.5");
    EXPECT_EQ(Format(L"%f %F", std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()),
              L"inf -INF");
}

TEST(DiagFormat, HexadecimalFloatingPointKeepsEveryBit)
{
    const std::wstring strText = Format(L"%a %A", 0.1, 0.1);
    const std::size_t uiSpace = strText.find(L' ');
    ASSERT_NE(uiSpace, std::wstring::npos);
    EXPECT_EQ(strText.substr(0, 2), L"0x");
    EXPECT_EQ(strText.substr(uiSpace + 1, 2), L"0X");
    EXPECT_EQ(std::stod(strText.substr(0, uiSpace)), 0.1);
    EXPECT_EQ(std::stod(strText.substr(uiSpace + 1)), 0.1);
}

TEST(DiagFormat, PointersAreHexadecimalOnEverySystem)
{
    EXPECT_EQ(Format(L"%p [%6p] [%-6p] %p", reinterpret_cast<void*>(0x1234ABCD), reinterpret_cast<void*>(0xF),
                     reinterpret_cast<void*>(0xF), static_cast<void*>(nullptr)),
              L"0x1234abcd [   0xf] [0xf   ] 0x0");
}

TEST(DiagFormat, WhatIsNoConversionIsTextAndTakesNoArgument)
{
    EXPECT_EQ(Format(L"100 % m %d", 1), L"100 % m 1");
    EXPECT_EQ(Format(L"[% m_nEncoderBuffer]"), L"[% m_nEncoderBuffer]");
    EXPECT_EQ(Format(L"%m %n %y %k %! %d", 1), L"%m %n %y %k %! 1");
    EXPECT_EQ(Format(L"%\u00e4 %\u65e5 %\uFF4D %d", 1), L"%\u00e4 %\u65e5 %\uFF4D 1");
    EXPECT_EQ(Format(L"%'d %1$d %w %d", 1), L"%'d %1$d %w 1");
}

TEST(DiagFormat, FlagsAndLengthsWithoutMeaningMakeNoConversion)
{
    EXPECT_EQ(Format(L"50% of, 50 % saved, %+s, %#d, %0s, %0c, % u, %+x %d", 1),
              L"50% of, 50 % saved, %+s, %#d, %0s, %0c, % u, %+x 1");
    EXPECT_EQ(Format(L"%hf %hhs %lls %zs %Ld %lp %.3c %.3p %#p %I64s %d", 1),
              L"%hf %hhs %lls %zs %Ld %lp %.3c %.3p %#p %I64s 1");
    EXPECT_EQ(Format(L"%5% %*y %d", 1), L"%5% %*y 1");
}

TEST(DiagFormat, APercentSignAtTheEndIsText)
{
    EXPECT_EQ(Format(L"100%"), L"100%");
    EXPECT_EQ(Format(L"%5"), L"%5");
    EXPECT_EQ(Format(L"%-+ #0"), L"%-+ #0");
    EXPECT_EQ(Format(L"%5."), L"%5.");
    EXPECT_EQ(Format(L"%l"), L"%l");
    EXPECT_EQ(Format(L"%I6"), L"%I6");
    EXPECT_EQ(Format(L"%I64"), L"%I64");
    EXPECT_EQ(Format(L"%*.*ll"), L"%*.*ll");
}

TEST(DiagFormat, ALineHasNoLongestLength)
{
    const std::wstring strLong(100000, L'x');
    EXPECT_EQ(Format(L"[%s]%d", strLong.c_str(), 5), L"[" + strLong + L"]5");
    EXPECT_EQ(Format(L"%300d", 7), std::wstring(299, L' ') + L"7");
    EXPECT_EQ(Format(L"%.300f", 0.5), L"0.5" + std::wstring(299, L'0'));
    EXPECT_EQ(Format(L"%f", 1e300).size(), 301 + 7u);
}

TEST(DiagFormat, HugeFieldsAreCut)
{
    EXPECT_EQ(Format(L"%99999999999999d", 7), std::wstring(65534, L' ') + L"7");
    EXPECT_EQ(Format(L"%*d", std::numeric_limits<int>::min(), 7), L"7" + std::wstring(65534, L' '));
    EXPECT_EQ(Format(L"%.*f", std::numeric_limits<int>::max(), 0.5), L"0.5" + std::wstring(65534, L'0'));
    EXPECT_EQ(Format(L"%.*s", std::numeric_limits<int>::max(), L"text"), L"text");
}

TEST(DiagFormat, ANullFormatIsNoLine)
{
    CCapture capture;
    DiagOutputExW(nullptr);
    EXPECT_TRUE(capture.m_vLines.empty());
}

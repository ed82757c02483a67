// Times this system next to a peer: both in one run and in turns, so that a busy machine slows both in the same way.
#pragma once

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace bench
{

inline double SecondsOf(const std::function<void()>& fnWork)
{
    const auto begin = std::chrono::steady_clock::now();
    fnWork();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

// Processor seconds of the calling process and its ended children.
inline double CpuSeconds()
{
    double dSum = 0.0;
    for (const int nWho : {RUSAGE_SELF, RUSAGE_CHILDREN})
    {
        rusage usage{};
        getrusage(nWho, &usage);
        dSum += static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
    }
    return dSum;
}

inline double CpuSecondsOf(const std::function<void()>& fnWork)
{
    const double dBegin = CpuSeconds();
    fnWork();
    return CpuSeconds() - dBegin;
}

inline double Median(std::vector<double> vValues)
{
    std::sort(vValues.begin(), vValues.end());
    return vValues[vValues.size() / 2];
}

// Runs both in turns and prints one line: the medians, and how many times as fast as the peer this system is.
inline double Compare(const std::string& strName, int nRounds, const std::function<double()>& fnOurs,
                      const std::string& strPeer, const std::function<double()>& fnPeer)
{
    std::vector<double> vOurs;
    std::vector<double> vPeer;
    std::vector<double> vRatio;
    for (int n = 0; n < nRounds; ++n)
    {
        vOurs.push_back(fnOurs());
        vPeer.push_back(fnPeer());
        vRatio.push_back(vPeer.back() / vOurs.back());
    }
    const double dRatio = Median(vRatio);
    std::printf("%-44s %9.1f ms   %-28s %9.1f ms   %.2f times as fast\n", strName.c_str(), Median(vOurs) * 1e3,
                strPeer.c_str(), Median(vPeer) * 1e3, dRatio);
    std::fflush(stdout);
    return dRatio;
}

}  // namespace bench

// The times of all frames of a file, found when the file is opened.
#pragma once

#include <cstdint>
#include <vector>

#include <windows.h>

class CReadGraph;

// Fills vTimesMs with the start of each frame in whole milliseconds: from the boxes of the file, or,
// when these have no complete list, from the durations of its samples. For the latter the graph plays the file through.
// The graph is left as it is then. After a failure vTimesMs holds nothing of use.
//
// May throw std::bad_alloc or std::length_error.
HRESULT FindFrameTimes(const wchar_t* pwszPath, CReadGraph& graph, std::vector<std::uint64_t>& vTimesMs);

#include "mp4filesimpl/frametimes.h"

#include <list>

#include <mfapi.h>

#include "common/sessionevents.h"
#include "mp4filesimpl/boxwalk.h"
#include "mp4filesimpl/readgraph.h"

namespace
{

// Formats that the counting sink may ask for, in the order in which they are tried. It looks at durations only, so
// compressed samples serve as well as pictures.
const GUID* const g_apCountingSubtypes[] = {
    &MFVideoFormat_H264, &MFVideoFormat_MP4S, &MFVideoFormat_M4S2,  &MFVideoFormat_MP4V,
    &MFVideoFormat_WVC1, &MFVideoFormat_YUY2, &MFVideoFormat_RGB32,
};

constexpr std::int64_t UNITS_PER_MS = 10000;  // durations are in units of 100 ns

// Plays the file through and makes the list of times from the durations of its samples. *pbRefused: the session doesn't
// play it in this format. E_ABORT when the session is silent for too long.
HRESULT CountSamples(CReadGraph& graph, std::vector<std::uint64_t>& vTimesMs, bool* pbRefused)
{
    *pbRefused = false;
    CFrameStore& store = *graph.GetStore();
    CSessionEvents events(graph.GetSession());
    PROPVARIANT varBeginning;
    PropVariantInit(&varBeginning);
    store.NoteEvent();
    HRESULT hr = graph.GetSession()->Start(&GUID_NULL, &varBeginning);
    for (MediaEventType eType = MEUnknown; SUCCEEDED(hr) && eType != MESessionEnded;)
    {
        HRESULT hrStatus = S_OK;
        hr = events.Take(store.GetSilenceLeft(), nullptr, &eType, &hrStatus);
        if (hr == S_FALSE && store.GetSilenceLeft() == 0)
        {
            graph.GetSession()->Stop();  // else it may play the rest of the file for nothing
            return E_ABORT;
        }
        if (hr == S_OK) store.NoteEvent();
        if (hr == S_OK && FAILED(hrStatus))
        {
            *pbRefused = true;
            return S_OK;
        }
    }
    if (FAILED(hr)) return hr;

    std::list<LONGLONG> lstTimes = store.TakeSampleTimes();
    if (lstTimes.empty()) return E_FAIL;  // it played, and there was nothing in it
    lstTimes.pop_back();                  // the end of the last sample
    vTimesMs.resize(lstTimes.size());
    std::uint64_t* puiTime = vTimesMs.data();
    for (const LONGLONG llTime : lstTimes)
        *puiTime++ = static_cast<std::uint64_t>(llTime / UNITS_PER_MS);
    return S_OK;
}

}  // namespace

HRESULT FindFrameTimes(const wchar_t* pwszPath, CReadGraph& graph, std::vector<std::uint64_t>& vTimesMs)
{
    bool bRefused = false;
    for (const GUID* pguidSubtype : g_apCountingSubtypes)
    {
        if (bRefused)
        {
            graph.ShutDown();
            graph.Release();
        }
        HRESULT hr = graph.MakeForCounting(pwszPath, *pguidSubtype);
        if (FAILED(hr)) return hr;
        vTimesMs.clear();  // what the walk left when it failed for the format before would shift every index
        if (ReadFrameTimes(pwszPath, vTimesMs) == QM_OK) return S_OK;
        hr = CountSamples(graph, vTimesMs, &bRefused);
        if (FAILED(hr) || !bRefused) return hr;
    }
    return E_FAIL;
}

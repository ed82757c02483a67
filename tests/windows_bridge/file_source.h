// The system's source of a file, driven without a session.
#pragma once

#include <chrono>
#include <filesystem>

#include <windows.h>

#include <mfidl.h>

namespace windows_bridge
{

// Not for several threads. What fails throws std::runtime_error with the name of the step. Precondition: COM and Media
// Foundation are started.
class CFileSource
{
public:
    explicit CFileSource(const std::filesystem::path& path);
    ~CFileSource();
    CFileSource(const CFileSource&) = delete;
    CFileSource& operator=(const CFileSource&) = delete;

    // Of the first stream. The caller's to release.
    IMFMediaType* GetType();

    // Return when the source has reported it. The position is in units of 100 ns.
    void Start(LONGLONG llPosition);
    void Pause();

    // The sample that answers it has the token.
    void RequestSample(IUnknown* pToken);
    // Waits for the next sample of the first stream. The caller's to release.
    IMFSample* AwaitSample();

    // Whether the source reports its end within a time.
    bool EndsWithin(std::chrono::milliseconds time);

    // After the last sample: what a pause gives then.
    HRESULT PauseAtEnd();

private:
    void AwaitSourceEvent(MediaEventType eWanted, MediaEventType eOrThis);

    IMFMediaSource* m_pSource = nullptr;
    IMFPresentationDescriptor* m_pDescriptor = nullptr;
    IMFMediaStream* m_pStream = nullptr;
};

}  // namespace windows_bridge

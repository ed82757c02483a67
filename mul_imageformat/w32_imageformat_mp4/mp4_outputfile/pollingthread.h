// The output side of an AMF encoder: a thread that takes what is encoded and writes it.
#pragma once

#include <atomic>
#include <cstdint>

#include "abi/amf/amf.h"
#include "amf/common/amfthread.h"

class CMp4FileWriter;

// Set on every surface that goes to the encoder, in units of 100 ns of the AMF path's clock. The encoder hands it on
// with the picture's buffer.
inline constexpr wchar_t AMF_START_TIME_PROPERTY[] = L"StartTimeProperty";

// The host's thread submits pictures to the same encoder meanwhile. It owns this object: it calls Start, and at the end
// ExpectEnd, RequestStop and WaitForStop.
//
// A RequestStop of the owner's before WaitForStop is needed: it makes WaitForStop wait also for a thread that hasn't
// reached Run yet.
class PollingThread : public AMFThread
{
public:
    // Both outlive the thread. The file has been opened; while the thread runs it is the thread's, but for Abandon.
    PollingThread(AMFComponent& encoder, CMp4FileWriter& file) : m_encoder(encoder), m_file(file) {}

    // Takes output and logs it in the file until the encoder reports the end of the stream, or until nothing has come
    // for the limit of ExpectEnd. Then writes the NAL lengths. Throws nothing.
    //
    // Without an open file it returns at once, and the encoder's output isn't taken. A file that takes nothing more in
    // the middle, for lack of disk or memory, doesn't end the thread: the encoder would keep its input full.
    void Run() override;

    // One more picture is about to go to the encoder. For the host's thread.
    //
    // An encoder gives a buffer for each, and perhaps some more. One that gives far more than that, perhaps without
    // end, ends the file unfinished, and after ExpectEnd the thread too.
    void ExpectPicture() { ++m_uiPictures; }

    // Whether it has given far more than that. Nothing is to be expected of it any more.
    bool GaveTooMuch() const { return m_bTooMuch; }

    // Whether nothing has come from the encoder for uiLimit milliseconds. They count from the last output, or from
    // uiBegin, a time of GetMilliseconds, if that is later. For any thread.
    bool IsQuietFor(std::uint32_t uiLimit, std::uint64_t uiBegin) const;

    // No picture follows. From now on the thread ends also when the encoder is quiet for that long.
    void ExpectEnd(std::uint32_t uiLimit, std::uint64_t uiBegin);

private:
    static constexpr std::uint32_t NO_LIMIT = 0xFFFFFFFF;

    static constexpr std::uint64_t MOST_BUFFERS_OF_A_PICTURE = 2;
    static constexpr std::uint64_t MOST_OTHER_BUFFERS = 16;

    bool IsGivenUp() const;
    bool IsEndExpected() const { return m_uiEndLimit != NO_LIMIT; }
    bool IsTooMuch(std::uint64_t uiBuffers) const;
    void LogOutput(AMFData& data);

    AMFComponent& m_encoder;
    CMp4FileWriter& m_file;
    std::atomic<std::uint64_t> m_uiLastOutput{0};  // 0 before the first
    std::atomic<std::uint64_t> m_uiPictures{0};
    std::atomic<bool> m_bTooMuch{false};
    std::atomic<std::uint64_t> m_uiEndBegin{0};         // of ExpectEnd
    std::atomic<std::uint32_t> m_uiEndLimit{NO_LIMIT};  // before ExpectEnd: none
};

// An output object over a scripted AMF runtime, with a clock that only a test moves.
#pragma once

#include <string>
#include <vector>

#include "fake_amf.h"
#include "output_file_fixture.h"
#include "passing_clock.h"
#include "scripted_amf.h"
#include "scripted_direct3d.h"

class AmfOutputTest : public OutputObjectTest
{
protected:
    // The codec is AMF1, and everything works.
    void SetUp() override;
    // Every object of the runtime and every reference was released.
    void TearDown() override;

    // A finished file; an unfinished one.
    SMuxedFile Read() const { return ReadMuxedFile(m_target.Bytes()); }
    static bool IsUnfinished(const Bytes& vFile);

    // The calls from the first of that name on, and how many of them.
    std::vector<std::string> CallsFrom(const std::string& strFirst, std::size_t uiCount) const;

    // What the scripted encoder makes of a picture: a delimiter, SPS, PPS and an IDR slice for the first, a delimiter
    // and one slice for others.
    static Bytes PacketOf(int nPicture);
    // That packet as it lies in a finished file.
    static Bytes SampleOf(int nPicture);
    static Bytes Samples(int nCount);

    CPassingClock m_clock;
    FakeAmf m_runtime;
    ScriptedDirect3D m_d3d;
    ScriptedAmf m_amf{m_d3d};
};

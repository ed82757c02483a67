// The compressed samples of a stream as the container holds them, in decoding order.
#pragma once

#include "platform/mediafoundation/reading/sample_reader.h"

namespace mediafoundation
{

class PacketReader final : public SampleReader
{
public:
    PacketReader(std::shared_ptr<ContainerFile> file, unsigned int uiStream) : SampleReader(std::move(file), uiStream)
    {}

    void StartAt(std::uint64_t uiNumber) override;
    Progress Step() override;

private:
    bool m_bSeek = true;
};

}  // namespace mediafoundation

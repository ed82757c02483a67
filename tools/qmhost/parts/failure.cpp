#include "parts/failure.h"

namespace qmhost
{

std::string_view StatusMeaning(QmStatus nStatus)
{
    switch (nStatus)
    {
    case QM_OK:
        return "success";
    case QM_ERR_NOTIMPL:
        return "not provided";
    case QM_ERR_RANGE:
        return "index or picture form refused";
    case QM_ERR_FAIL:
        return "general failure";
    case QM_ERR_FILEOPEN:
        return "a file didn't open";
    case QM_ERR_NOTSUPPORTED:
        return "not supported by this format";
    default:
        return "unknown status";
    }
}

Failure::Failure(std::string_view operation, QmStatus nStatus, std::string_view detail, std::string_view reason)
    : std::runtime_error(std::string(operation) + " failed with status " + std::to_string(nStatus) + " (" +
                         std::string(StatusMeaning(nStatus)) + "): " + std::string(detail) +
                         (reason.empty() ? "" : "\n  ") + std::string(reason))
{}

void Require(QmStatus nStatus, std::string_view operation, std::string_view detail)
{
    if (nStatus != QM_OK) throw Failure(operation, nStatus, detail);
}

}  // namespace qmhost

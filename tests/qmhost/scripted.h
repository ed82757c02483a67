// What the parts of the scripted module share.
#pragma once

#include <cstdint>
#include <string>

#include "hostapi/hostcore.h"

class IQmImageFormat;
class IQmOutputImageFile;

// The number of an item "name=number" of the script.
int Scripted(const std::string& name, int nDefault);
// Never returns at the frame at which the script says that the module hangs.
void HangAt(std::uint32_t uiFrame);
// The status that the script has for an operation.
QmStatus Status(const char* pszOperation);
std::uint32_t Number(const char* pszName, int nDefault);

// Counts the module's objects, and reports on standard error those that outlive the program's use of them.
struct ObjectCount
{
    int m_nObjects = 0;
    ~ObjectCount();
};
extern ObjectCount g_objects;

// An output object with one reference.
IQmOutputImageFile* MakeScriptedOutput(IQmImageFormat* pFormat, CQmStringW strPath, std::uint32_t uiCodec);

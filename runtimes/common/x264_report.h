// The settings of an encoder as a runtime's script reports them.
#pragma once

// What an encoder was set to, for a peer to be set to the same: the names of x264's preset and profile (empty without a
// restriction), and its options as "name=value:name=value".
struct RuntimeX264Settings
{
    char szPreset[32];
    char szProfile[32];
    char szOptions[1024];
};

// What the module says of itself, for its build records and for the version resource of the Windows build. The resource
// compiler reads this file too.
#pragma once

#define QM_VERSION_NUMBERS 7, 100, 2200, 4
#define QM_VERSION_FILE "7, 100, 2200, 4"
#define QM_VERSION_PRODUCT "0, 0, 0, 0"
#define QM_VERSION_COMPANY "The imageformat_mp4 project"
#define QM_VERSION_COPYRIGHT "Copyright (C) 2026 The imageformat_mp4 project"
#define QM_VERSION_DESCRIPTION "MP4 - Image File Format"
#define QM_VERSION_NAME "w32_imageformat_mp4"
#define QM_VERSION_PRIVATE_BUILD "1"
#define QM_VERSION_SPECIAL_BUILD "1"

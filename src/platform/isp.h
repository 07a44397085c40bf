// The ISP's calls and records: the platform's own header where the build names one, else ours.
#pragma once

#ifdef AUTOFOCUS_ISP_HEADER
#include AUTOFOCUS_ISP_HEADER // IWYU pragma: export
#else
#include "platform/isp_interface.h" // IWYU pragma: export
#endif

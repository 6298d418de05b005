// SVCKIV_API marks what libsvckiv exports: the facade, the message object and the configuration
// interface.
#pragma once

#if defined(_WIN32)
#if defined(SVCKIV_BUILD)
#define SVCKIV_API __declspec(dllexport)
#else
#define SVCKIV_API __declspec(dllimport)
#endif
#else
#define SVCKIV_API __attribute__((visibility("default")))
#endif

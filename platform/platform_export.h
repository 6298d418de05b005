// KIVPLATFORM_API marks what libkivplatform exports. Everything that a header of platform/ declares
// for use outside its own folder carries it; the rest stays hidden.
#pragma once

#if defined(_WIN32)
#if defined(KIVPLATFORM_BUILD)
#define KIVPLATFORM_API __declspec(dllexport)
#else
#define KIVPLATFORM_API __declspec(dllimport)
#endif
#else
#define KIVPLATFORM_API __attribute__((visibility("default")))
#endif

#pragma once

/// Marks what leaves a shared library of this project; everything else is hidden.
/// VEXO_API belongs to the playback library, ORI_API to the engine behind the boundary.
#if defined(_WIN32)
#if defined(VEXO_BUILDING)
#define VEXO_API __declspec(dllexport)
#else
#define VEXO_API __declspec(dllimport)
#endif
#if defined(ORI_BUILDING)
#define ORI_API __declspec(dllexport)
#else
#define ORI_API __declspec(dllimport)
#endif
#else
#define VEXO_API __attribute__((visibility("default")))
#define ORI_API __attribute__((visibility("default")))
#endif

#pragma once
/// The version of the library, by Semantic Versioning. Before 1.0.0 a new minor version may break source and binary
/// compatibility, a new patch version breaks neither; shared libraries are named after it (SOVERSION is MAJOR.MINOR,
/// from 1.0.0 on MAJOR).

///@{
/// The version's parts. CMakeLists.txt reads them here.
#define TAV_VERSION_MAJOR 0
#define TAV_VERSION_MINOR 2
#define TAV_VERSION_PATCH 0
///@}

/// One number to compare by: 0.2.0 is 200, 1.12.3 is 11203.
#define TAV_VERSION (TAV_VERSION_MAJOR * 10000 + TAV_VERSION_MINOR * 100 + TAV_VERSION_PATCH)

#pragma GCC visibility push(default)

/// TAV_VERSION of the library that the program runs with; a shared one may be newer than the header.
int TavGetVersion() noexcept;

#pragma GCC visibility pop

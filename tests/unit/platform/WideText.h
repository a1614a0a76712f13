// Wide text of either system in the expectations of tests.
#pragma once

#include <string>

#include "quillmark/Platform.h"

using WideText = std::basic_string<WCHAR>;

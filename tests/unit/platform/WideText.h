// Wide text of either system in the expectations of tests.
#pragma once

#include <string>
#include <string_view>

#include "quillmark/Platform.h"

using WideText = std::basic_string<WCHAR>;
using WideView = std::basic_string_view<WCHAR>;

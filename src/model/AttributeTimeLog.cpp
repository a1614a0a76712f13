// The one operation of CAttributeTime that logs. It is apart from the others because those are for hosts too, which
// have no logging context.
#include "common/Log.h"
#include "quillmark/AttributeTime.h"

namespace quillmark {

CAttributeTime& CAttributeTime::operator=(const std::string& text) {
    *this = Parse(text);
    if (!IsSet()) {
        constexpr Logger log("CAttributeTime::operator =", LogSource::AttributeTime);
        log.Error("Error: [%s] is not a valid time", text);
    }
    return *this;
}

}  // namespace quillmark

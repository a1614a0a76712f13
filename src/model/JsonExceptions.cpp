#include "model/JsonExceptions.h"

#include <new>

#include "model/JsonReader.h"

namespace quillmark {

DWORD CodeOfExceptionInFlight(const Logger& log) noexcept {
    try {
        throw;
    } catch (const Json::Exception& exception) {
        LogJSONException(log, exception);
        return ERROR_INVALID_DATA;
    } catch (const std::bad_alloc& exception) {
        LogJSONException(log, exception);
        return ERROR_NOT_ENOUGH_MEMORY;
    } catch (...) {
        log.Error("Unknown exception");
        return ERROR_INTERNAL_ERROR;
    }
}

}  // namespace quillmark

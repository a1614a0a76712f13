#include "handlers/OpenedFile.h"

#include <stdexcept>

#include "http/Errors.h"
#include "storage/Contents.h"
#include "storage/Store.h"

namespace appliance {

// The content may be replaced between the two look-ups; then the row has another one by now.
OpenedFile OpenFile(const Services& services, std::int64_t user, const ItemPath& path) {
    std::string missing;
    for (;;) {
        Item item = services.store.Get(user, path);
        if (item.directory) {
            throw ApiError(ErrorId::WrongKind, "A folder has no content");
        }
        if (item.content == missing) {
            throw std::runtime_error("the content " + missing + " is missing");
        }
        FileDescriptor content = services.contents.Open(item.content);
        if (content) {
            return {std::move(item), std::move(content)};
        }
        missing = item.content;
    }
}

}  // namespace appliance

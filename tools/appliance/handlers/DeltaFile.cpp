#include "handlers/DeltaFile.h"

#include "http/Errors.h"
#include "storage/Contents.h"

namespace appliance {

FileSink IntoDelta(const Services& services, ContentWriter& writer) {
    const auto capacity = services.options.capacity;
    return {[&writer, capacity](std::string_view bytes) {
                if (capacity && bytes.size() > *capacity - writer.Size()) {
                    throw ApiError(ErrorId::StorageFull, "The storage is full");
                }
                writer.Write(bytes);
            },
            std::nullopt};
}

}  // namespace appliance

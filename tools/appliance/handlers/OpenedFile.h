// A file of a user's tree, opened for reading.
#pragma once

#include "Services.h"
#include "storage/FileDescriptor.h"
#include "storage/Item.h"

namespace appliance {

// The row and the content as they belong together. The content stays readable when the file is replaced.
struct OpenedFile {
    Item item;
    FileDescriptor content;
};

// Throws ApiError when there is no such file.
OpenedFile OpenFile(const Services& services, std::int64_t user, const ItemPath& path);

}  // namespace appliance

// Receiving a delta: like any file, but nobody says beforehand how long it is.
#pragma once

#include "Services.h"
#include "handlers/FileForm.h"

namespace appliance {

// The sink that fills a content file with a delta. Throws StorageFull when it alone is more than the server may keep.
// The writer has to outlive it.
FileSink IntoDelta(const Services& services, ContentWriter& writer);

}  // namespace appliance

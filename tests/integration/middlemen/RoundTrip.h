// What every middleman must let through: a login, a folder, files of awkward sizes up and down.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "integration/support/HostClient.h"
#include "integration/support/TempFolder.h"

namespace quillmark::testing {

inline void ExpectRoundTrip(HostClient& client) {
    const TempFolder folder;
    std::shared_ptr<IServerAttributes> made;
    EXPECT_EQ(client->CreateFolder(QM_W("/through"), made, nullptr).error, 0u);
    for (const std::uint64_t size : {0ull, 1ull, 16383ull, 16384ull, 16385ull, 5'000'000ull}) {
        const std::string name = std::to_string(size);
        const WideString local = WritePatternAt(folder / name, size);
        const WideString server = WidenUtf8("/through/\u00fcber " + name + "+%.bin");
        const auto attributes = UploadAttributes(static_cast<std::int64_t>(size));
        EXPECT_EQ(client->UploadFile(local, server, attributes, nullptr, nullptr, 0), 0u) << name;
        const auto received = MakeAttributes();
        EXPECT_EQ(client->DownloadFile(server, WidenUtf8(folder / "back"), nullptr, received, WideString(), nullptr,
                                       nullptr, 0),
                  0u)
            << name;
        EXPECT_EQ(received->GetSize(), static_cast<std::int64_t>(size));
        EXPECT_TRUE(ReadFileAt(folder / name) == ReadFileAt(folder / "back")) << name;
    }
    ItemList children;
    std::shared_ptr<IServerAttributes> self;
    EXPECT_EQ(client->GetPathListing(QM_W("/through"), children, self, nullptr).error, 0u);
    EXPECT_EQ(children.size(), 6u);
}

}  // namespace quillmark::testing

// The certificates that the program itself asked to trust (quillmark/platform/TrustedRoots.h).
#pragma once

struct x509_store_st;

namespace quillmark::platform::winhttp {

// Adds them to a store. Any thread may call it.
void AddProgramRoots(x509_store_st* store);

}  // namespace quillmark::platform::winhttp

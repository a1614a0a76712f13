#include "Retry.h"

namespace quillmark::cli {

RetryBudget::RetryBudget(int retries, std::uint32_t seed) : m_retries(retries), m_random(seed) {}

}  // namespace quillmark::cli

#include "WorkPool.h"

#include "Pch.h"

namespace appliance {

namespace asio = boost::asio;

namespace {

asio::awaitable<void> Perform(std::function<void()> work) {
    work();
    co_return;
}

}  // namespace

asio::awaitable<void> WorkPool::Run(std::function<void()> work) {
    return asio::co_spawn(m_pool.get_executor(), Perform(std::move(work)), asio::use_awaitable);
}

void WorkPool::Pass() const {
    if (m_stopping) {
        throw std::runtime_error("the server ends");
    }
}

void WorkPool::Stop() {
    m_stopping = true;
    m_pool.stop();
    m_pool.join();
}

}  // namespace appliance

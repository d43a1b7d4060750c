// Messages a second through one looper, from one sender and from four at once.
#include <benchmark/benchmark.h>

#include <memory>
#include <semaphore>

#include "looper/message_looper.h"

namespace {

constexpr int kBatch = 256;

/// Sends a batch and waits until its last message has run: the queue stays as short as with a bounded producer.
void Looper_Throughput(benchmark::State &state) {
    static std::unique_ptr<vexo::MessageLooper> looper;
    if (state.thread_index() == 0) looper = std::make_unique<vexo::MessageLooper>("bench");
    std::binary_semaphore through(0);
    for (auto _ : state) {
        for (int i = 1; i < kBatch; ++i) looper->SendMessage_({[] {}}, vexo::MSG_PRIO_LOW);
        looper->SendMessage_({[&through] { through.release(); }}, vexo::MSG_PRIO_LOW);
        through.acquire();
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
    if (state.thread_index() == 0) looper.reset();
}
BENCHMARK(Looper_Throughput)->Threads(1)->Threads(4)->UseRealTime();

}  // namespace

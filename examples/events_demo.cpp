// A producer hands numbers to a consumer through an auto-reset event carrying each value; a
// second event tells the producer that the value was taken, so no signal is ever lost.
#include <cstdio>
#include <thread>

#include "events/KrEvent.h"

int main() {
    SKrEvent ready, taken;
    if (event_initA(&ready, 0, 0, 0, "ready", nullptr) != 0 ||
        event_initA(&taken, 0, 0, 0, "taken", nullptr) != 0) {
        std::perror("event_initA");
        return 1;
    }
    constexpr int kCount = 5;
    constexpr kr_int32 kStop = -1;

    std::thread consumer([&] {
        long sum = 0;
        for (;;) {
            kr_int32 value = 0;
            event_wait_info(&ready, &value);
            if (value == KR_EVENT_NO_INFORMATION) continue;  // woken without a value
            event_signal(&taken);
            if (value == kStop) break;
            std::printf("consumer: got %d\n", value);
            sum += value;
        }
        std::printf("consumer: sum %ld\n", sum);
    });

    for (kr_int32 i = 1; i <= kCount; ++i) {
        std::printf("producer: sending %d\n", i * i);
        event_signal_info(&ready, i * i);
        event_wait(&taken);
    }
    event_signal_info(&ready, kStop);
    event_wait(&taken);
    consumer.join();

    event_destroy(&ready);
    event_destroy(&taken);
    return 0;
}

// The tests provoke allocation failures on purpose (requests of tens of terabytes).  Under the
// sanitizers such a request must come back as null, as it does from the C library, instead of
// aborting the test program.
extern "C" __attribute__((visibility("default"), used)) const char *__asan_default_options() {
    return "allocator_may_return_null=1:max_allocation_size_mb=65536";
}
extern "C" __attribute__((visibility("default"), used)) const char *__tsan_default_options() {
    return "allocator_may_return_null=1:max_allocation_size_mb=65536";
}

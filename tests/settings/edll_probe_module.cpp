extern "C" __attribute__((visibility("default"))) int edllProbeAnswer() { return 42; }

extern "C" __attribute__((visibility("default"))) int loaderProbe()
{
    return 4711;
}

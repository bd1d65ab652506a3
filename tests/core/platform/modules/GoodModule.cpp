extern "C" __attribute__((visibility("default"))) int answer();

int answer()
{
    return 42;
}

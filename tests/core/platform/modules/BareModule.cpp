// Has a function, and exports none.
extern "C" __attribute__((visibility("hidden"), used)) int hidden();

int hidden()
{
    return 42;
}

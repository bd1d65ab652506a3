// Needs a function that no library has.
extern "C" int functionThatNobodyHas();
extern "C" __attribute__((visibility("default"))) int answer();

int answer()
{
    return functionThatNobodyHas();
}

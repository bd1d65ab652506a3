#include "e2e/MountFixture.h"

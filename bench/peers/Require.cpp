#include "peers/Peer.h"

#include <cstdio>
#include <cstdlib>

namespace bench {

void require(bool holds, const char* what)
{
    if (holds)
        return;
    std::perror(what);
    std::exit(1);
}

} // namespace bench

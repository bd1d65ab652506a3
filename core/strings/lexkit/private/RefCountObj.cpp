#include "lexkit/private/RefCountObj.h"

namespace lexkit_private {

RefCountObj::~RefCountObj() = default;

} // namespace lexkit_private

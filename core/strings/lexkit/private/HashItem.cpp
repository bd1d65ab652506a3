#include "lexkit/private/HashItem.h"

namespace lexkit_private {

HashItem::~HashItem() = default;

} // namespace lexkit_private

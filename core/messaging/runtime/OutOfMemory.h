// What is said when there was no memory for a text and it is dropped. Any thread.
#pragma once

namespace ScObjects {

// Says so on standard error, with the text's length; at most once a second.
void tellOutOfMemory(long bytes);

} // namespace ScObjects

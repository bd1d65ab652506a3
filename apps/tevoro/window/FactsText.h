// Facts of a picture as people read them: "1/250 s", "f/2.8". In the user's language and way of
// writing numbers. Empty for what is not known.
#pragma once

#include "pictures/facts/PictureFacts.h"

#include <QString>

#include <utility>
#include <vector>

namespace tevoro {

QString exposureText(double seconds);
// Degrees with the side of the world: "52.5163° N, 13.3777° E".
QString placeText(double latitude, double longitude);

// Label and value of all that is known, in the order of reading.
std::vector<std::pair<QString, QString>> factsText(const pictures::PictureFacts& facts);

} // namespace tevoro

// Images in the size and form that they are drawn in: nothing is scaled or converted while a view
// scrolls or turns a page. Any thread.
#pragma once

#include <QImage>
#include <QSize>

namespace pictures {

// Scaled down to fit into the box where it is larger; an empty box: not scaled. In a form that is
// drawn as it is.
QImage drawnForm(const QImage& image, QSize box);

} // namespace pictures

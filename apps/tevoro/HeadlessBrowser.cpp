#include "tevoro/HeadlessBrowser.h"

#include "tevoro/MediafetcherStart.h"

namespace tevoro {

void HeadlessBrowser::browseTo(const QString& folder)
{
    m_folder = folder;
    m_status.clear();
}

bool HeadlessBrowser::runMediafetcher(QString& error)
{
    return startMediafetcher(error);
}

} // namespace tevoro

// The stores that a command works on: what it reads, where it writes, and what it tells about them.
// One thread.
#pragma once

#include "velmo-caps/CommandLine.h"
#include "velmo_caps/CurrentStores.h"
#include "velmo_caps/StoreWriter.h"

#include <memory>

namespace velmo_caps_cli {

using velmo_caps::Face;
using velmo_caps::StoreView;
using velmo_caps::SubdomainName;
using velmo_caps::ViewSubdomain;

class ChosenStores {
public:
    explicit ChosenStores(const CommandLine& line);

    const StoreView& view();

    // To change the view's store. Throws StoreError.
    velmo_caps::StoreWriter& writer();

    // Throws CommandError, and nothing is changed, if the program was told to end.
    static void commit(velmo_caps::StoreWriter::Change& change);

    // Takes an entry away: the writer's own, or hides the machine's from this user.
    void remove(velmo_caps::StoreWriter::Change& change,
        const SubdomainName& subdomain,
        const std::string& key);
    // The same with all entries of one, and with those that the machine will add to it.
    void removeAll(velmo_caps::StoreWriter::Change& change, const ViewSubdomain& subdomain);

    // Says on standard error what the view may lack. Throws CommandError where the one file that
    // the user named is missing.
    ExitCode told();

private:
    velmo_caps::StorePlace m_place; // to write
    velmo_caps::CurrentStores m_stores;
    std::shared_ptr<const StoreView> m_view;
    std::unique_ptr<velmo_caps::StoreWriter> m_writer;
};

} // namespace velmo_caps_cli

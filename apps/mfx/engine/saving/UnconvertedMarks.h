// The names of raw files in a final folder that are to be converted: those just saved, and those
// put back after their conversion was cut off. Kept as empty files in ".mfxdownload/unconverted",
// so that they outlast a run that is killed before it comes to them. Who uses them has a lock on
// ".mfxdownload", and alone for what removes several. A mark that cannot be made costs a conversion
// and no picture, so that nobody is told. Any thread may call.
#pragma once

#include <set>
#include <string>

namespace mfx {

class UnconvertedMarks {
public:
    // `workFolder` is the path of the ".mfxdownload" of the final folder.
    UnconvertedMarks(std::string finalFolder, const std::string& workFolder);

    void add(const std::string& name) const;
    void remove(const std::string& name) const;

    // Those whose raw file stands in the final folder. The others are removed: their conversion
    // came to its end, or somebody took the file away.
    std::set<std::string> names() const;

    void removeAll() const;

    // Removes their folder if there are none.
    void leave() const;

private:
    std::set<std::string> all() const;

    const std::string m_finalFolder;
    const std::string m_folder;
};

} // namespace mfx

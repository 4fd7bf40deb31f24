#include "OutFolder.h"

#include <cstdio>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

namespace Tolm::Convert {

std::string OutFolder::TrackName(std::size_t index)
{
    char name[32];
    std::snprintf(name, sizeof(name), "%02zu.wav", index + 1);
    return name;
}

std::string OutFolder::Prepare(const fs::path& folder)
{
    std::error_code ec;
    fs::create_directories(folder, ec);
    if (!fs::is_directory(folder, ec) || access(folder.c_str(), W_OK | X_OK) != 0)
        return "cannot write into the folder \"" + folder.string() + "\"";
    if (fs::exists(folder / TrackName(0), ec))
        return "\"" + folder.string() + "\" already holds " + TrackName(0) + "; choose an empty folder";
    return {};
}

bool OutFolder::Move(const fs::path& from, const fs::path& to, std::string& error)
{
    std::error_code ec;
    if (fs::exists(to, ec)) {
        error = to.string() + " already exists";
        return false;
    }
    fs::rename(from, to, ec);
    if (!ec)
        return true;
    if (ec != std::errc::cross_device_link) {
        error = ec.message();
        return false;
    }
    if (!fs::copy_file(from, to, fs::copy_options::none, ec)) {
        error = ec.message();
        fs::remove(to, ec);
        return false;
    }
    fs::remove(from, ec);
    return true;
}

} // namespace Tolm::Convert

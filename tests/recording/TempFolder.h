#pragma once

#include <filesystem>
#include <stdlib.h>
#include <string>

// A fresh folder for one test, removed with everything in it.
class TempFolder {
  public:
    TempFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "tolm-rec-XXXXXX").string();
        mPath = mkdtemp(pattern.data());
    }
    ~TempFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::string& Path() const { return mPath; }
    std::string operator/(const std::string& name) const { return mPath + "/" + name; }

  private:
    std::string mPath;
};

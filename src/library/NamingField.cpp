#include "library/NamingField.h"

namespace Tolm::Library {

NamingField ArtistField(unsigned trackCount)
{
    return trackCount == 1 ? NamingField{4, 10} : NamingField{7, 51};
}

NamingField AlbumField(unsigned trackCount)
{
    return trackCount == 1 ? NamingField{4, 11} : NamingField{7, 52};
}

NamingField YearField(unsigned trackCount)
{
    return trackCount == 1 ? NamingField{4, 13} : NamingField{7, 53};
}

NamingField SideField(unsigned trackCount)
{
    return trackCount == 1 ? NamingField{4, 14} : NamingField{7, 54};
}

NamingField TitleField(unsigned track, unsigned trackCount)
{
    if (trackCount == 1)
        return {4, 12};
    const int tag = int(track) + 60;
    if (track >= 31)
        return {10, tag};
    if (track >= 21)
        return {9, tag};
    if (track >= 11)
        return {8, tag};
    return {7, tag};
}

} // namespace Tolm::Library

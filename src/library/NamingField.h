#pragma once

namespace Tolm::Library {

// Where a name is typed in the wizard: the panel and the tag of its field. One track is
// named on the single-track panel (4); more on panel 7 (artist, album, titles 1 to 10) and
// panels 8 to 10 (titles 11 to 40, ten each).
struct NamingField {
    unsigned panel;
    int tag;

    friend bool operator==(const NamingField&, const NamingField&) = default;
};

NamingField ArtistField(unsigned trackCount);
NamingField AlbumField(unsigned trackCount);
NamingField TitleField(unsigned track, unsigned trackCount);
// Beside the album's name: its year and which side of the record this is.
NamingField YearField(unsigned trackCount);
NamingField SideField(unsigned trackCount);

} // namespace Tolm::Library

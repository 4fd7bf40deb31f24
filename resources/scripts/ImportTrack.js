// Imports one recorded track into the music library: adds the file, tags the added track,
// converts it to the user's import format and then takes the intermediate copy out again.
// The program sets thePath, theArtist, theAlbum, theName and theTrackNumber before it runs:
// they are values, never part of this text, so nothing in a path or a name can change it.
var thisFile = posixFile(thePath);
var newTrack = library.add(thisFile);
try {
    newTrack.artist = theArtist;
    newTrack.album = theAlbum;
    newTrack.name = theName;
    newTrack.trackNumber = theTrackNumber;
    library.convert(newTrack);
} finally {
    // The intermediate copy goes also when the conversion failed; its error still counts.
    try {
        var newTrackFile = newTrack.location;
        library.delete(newTrack);
        removeFile(newTrackFile);
    } catch (ignored) {
    }
}

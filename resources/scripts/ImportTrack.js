// Imports one recorded track into the music library: adds the file, tags the added track,
// converts it to the user's import format and then takes the intermediate copy out again.
// Filled in by the program, in order: the track file's path, the artist, the album, the
// title and the track number, each as the contents of a double-quoted string.
var thePath = "%@";
var thisFile = posixFile(thePath);
var newTrack = library.add(thisFile);
newTrack.artist = "%@";
newTrack.album = "%@";
newTrack.name = "%@";
newTrack.trackNumber = "%@";
library.convert(newTrack);
try {
    var newTrackFile = newTrack.location;
    library.delete(newTrack);
    removeFile(newTrackFile);
} catch (ignored) {
}

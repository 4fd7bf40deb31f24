<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en">
<context>
    <name>Tolm</name>
    <message>
        <source>IDS_WARNING</source>
        <translation>Warning</translation>
    </message>
    <message>
        <source>IDS_YES</source>
        <translation>Yes</translation>
    </message>
    <message>
        <source>IDS_NO</source>
        <translation>No</translation>
    </message>
    <message>
        <source>IDS_CONTINUE</source>
        <translation>Continue</translation>
    </message>
    <message>
        <source>IDS_UNKNOWN_TRACK</source>
        <translation>Unknown Track</translation>
    </message>
    <message>
        <source>IDS_UNKNOWN_ARTIST</source>
        <translation>Unknown Artist</translation>
    </message>
    <message>
        <source>IDS_UNKNOWN_ALBUM</source>
        <translation>Unknown Album</translation>
    </message>
    <message>
        <source>There was a problem creating the audio file. Your recording may not be successful.</source>
        <translation>There was a problem creating the audio file. Your recording may not be successful.</translation>
    </message>
    <message>
        <source>IDS_NODEVICE</source>
        <translation>&lt;p style="margin-top:0;"&gt;&lt;b&gt;No record player or cassette deck was found.&lt;/b&gt;&lt;/p&gt;&lt;p style="margin-top:0;"&gt;Connect it to a USB port of your computer and switch it on. Wait a few seconds, then press Next again.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TOOMANYDEVICES</source>
        <translation>&lt;p style="margin-top:0;"&gt;&lt;b&gt;More than one record player or cassette deck is connected.&lt;/b&gt;&lt;/p&gt;&lt;p style="margin-top:0;"&gt;Unplug all but the one you want to record from, then press Next again.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_LASTTRACK</source>
        <translation>&lt;p style="margin-top:0;"&gt;&lt;b&gt;The next track is the last one of this recording.&lt;/b&gt;&lt;/p&gt;&lt;p style="margin-top:0;"&gt;One recording holds up to 40 tracks. When this track has finished, press Stop.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_LIMIT</source>
        <translation>&lt;p style="margin-top:0;"&gt;&lt;b&gt;This recording has reached 40 tracks.&lt;/b&gt;&lt;/p&gt;&lt;p style="margin-top:0;"&gt;That is the most one recording can hold, so the recording stops here. Name these tracks, then record the rest as a new recording.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_CANCEL_RECORDING</source>
        <translation>&lt;p style="margin-top:0;"&gt;&lt;b&gt;Do you want to quit Tolm Audio Converter?&lt;/b&gt;&lt;/p&gt;&lt;p style="margin-top:0;"&gt;Anything you have recorded but not yet added to your music library will be lost.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_ITUNES_ERROR</source>
        <translation>&lt;p style="margin-top:0;"&gt;&lt;b&gt;Your music library cannot be reached.&lt;/b&gt;&lt;/p&gt;&lt;p style="margin-top:0;"&gt;Check that the drive or network folder that holds your music library is connected and that you may write to it. Your recording is kept until it can be added.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_NEXT</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:14px; font-weight:600; color:#ffffff;"&gt;Next&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_BACK</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:14px; font-weight:600; color:#2c3440;"&gt;Back&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_CONTINUE</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:14px; font-weight:600; color:#ffffff;"&gt;Continue&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_RECORD</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:14px; font-weight:600; color:#ffffff;"&gt;&lt;span style="font-size:13px;"&gt;●&lt;/span&gt;&amp;nbsp;&amp;nbsp;Record&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_STOP</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:14px; font-weight:600; color:#ffffff;"&gt;&lt;span style="font-size:12px; color:#ff6b63;"&gt;■&lt;/span&gt;&amp;nbsp;&amp;nbsp;Stop&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_NEWTRACK</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:14px; font-weight:600; color:#2c3440;"&gt;New Track&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_YES</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:14px; font-weight:600; color:#2c3440;"&gt;Yes, another one&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_NO</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:14px; font-weight:600; color:#2c3440;"&gt;No, I am done&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_BOTTOM_TURNTABLE</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:15px; font-weight:600; color:#2c3440;"&gt;Record player&lt;/p&gt;&lt;p align="center" style="margin-top:2px; margin-bottom:0; font-size:12px; color:#6b7482;"&gt;Vinyl records&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_BOTTOM_TAPEDECK</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:15px; font-weight:600; color:#2c3440;"&gt;Cassette deck&lt;/p&gt;&lt;p align="center" style="margin-top:2px; margin-bottom:0; font-size:12px; color:#6b7482;"&gt;Audio cassettes&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_BOTTOM_NORMALTAPE</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:15px; font-weight:600; color:#2c3440;"&gt;Normal&lt;/p&gt;&lt;p align="center" style="margin-top:2px; margin-bottom:0; font-size:12px; color:#6b7482;"&gt;Type I&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_BOTTOM_CHROMETAPE</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:15px; font-weight:600; color:#2c3440;"&gt;Chrome&lt;/p&gt;&lt;p align="center" style="margin-top:2px; margin-bottom:0; font-size:12px; color:#6b7482;"&gt;Type II · CrO₂ · High Bias&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB1_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Connect your record player or cassette deck&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB1_TEXT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:9px; font-size:14px; line-height:135%; color:#3b4451;"&gt;Turn your records and tapes into tracks in your music library, one side at a time.&lt;/p&gt;&lt;ol style="margin-top:0; margin-left:0; -qt-list-indent:1; font-size:14px; line-height:135%; color:#3b4451;"&gt;&lt;li style="margin-bottom:7px;"&gt;Plug the USB cable of your record player or cassette deck into your computer.&lt;/li&gt;&lt;li style="margin-bottom:7px;"&gt;Switch the device on.&lt;/li&gt;&lt;li style="margin-bottom:7px;"&gt;Press Next. Tolm Audio Converter finds it by itself.&lt;/li&gt;&lt;/ol&gt;</translation>
    </message>
    <message>
        <source>IDS_SELECTDEVICE_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;What are you playing?&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_SELECTDEVICE_TEXT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:9px; font-size:14px; line-height:135%; color:#3b4451;"&gt;Your device can play records or tapes. Choose one, so the sound is adjusted to match.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_SELECTTAPE_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Which kind of cassette is it?&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_SELECTTAPE_TEXT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:9px; font-size:14px; line-height:135%; color:#3b4451;"&gt;Chrome cassettes say “Chrome”, “CrO₂”, “High Bias” or “Type II” on the label or the case. If you are not sure, choose Normal.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB2_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Set the recording level&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB2_TEXT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:9px; font-size:14px; line-height:135%; color:#3b4451;"&gt;Play the loudest part of your record or tape and listen. Set the slider so that the bars reach high up while the lights above them stay dark. Then go back to the start of the side and press Record.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB2_GAIN</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; font-weight:600; color:#5d6775;"&gt;Recording level&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB2_SPLIT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:9px; font-size:14px; line-height:135%; color:#3b4451;"&gt;Split into tracks at the quiet gaps&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB2_SPLIT_HINT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; line-height:130%; color:#6b7482;"&gt;Switch this off to mark each new track yourself while recording.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB3_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Recording…&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB3_TEXT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:9px; font-size:14px; line-height:135%; color:#3b4451;"&gt;Play the side from the beginning. When it has finished, press Stop; a long silence at the end of a side stops the recording by itself.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB3_NEWTRACK_HINT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; line-height:130%; color:#6b7482;"&gt;Press New Track where the next track begins.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB3_TIME</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; font-weight:600; color:#5d6775;"&gt;Time of this track&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB3_TRACK</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; font-weight:600; color:#5d6775;"&gt;Track&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB4_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Name your track&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB4_TEXT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:9px; font-size:14px; line-height:135%; color:#3b4451;"&gt;Type the artist, the album and the name of the track. They are stored with the track in your music library.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_LABEL_ARTIST</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; font-weight:600; color:#5d6775;"&gt;Artist&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_LABEL_ALBUM</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; font-weight:600; color:#5d6775;"&gt;Album&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_LABEL_TRACKNAME</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; font-weight:600; color:#5d6775;"&gt;Track name&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_LABEL_TRACKS</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; font-weight:600; color:#5d6775;"&gt;Track names&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB5_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Adding to your music library&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB5_TEXT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:9px; font-size:14px; line-height:135%; color:#3b4451;"&gt;Your tracks are being saved, named and tagged in your music library. This takes a moment for each track.&lt;/p&gt;&lt;p style="margin-top:0; margin-bottom:9px; font-size:14px; line-height:135%; color:#3b4451;"&gt;You can already put on the next record.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB6_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Done! Your tracks are in your music library&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB6_TEXT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:9px; font-size:14px; line-height:135%; color:#3b4451;"&gt;Would you like to record another record or tape?&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB6_TITLE_NOT_ALL</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Not every track is in your music library&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB6_ADDED</source>
        <translation>%1 of %2 tracks were added to %3.</translation>
    </message>
    <message>
        <source>IDS_TAB6_NOT_ADDED</source>
        <translation>Track %1, “%2”, was not added: %3</translation>
    </message>
    <message>
        <source>IDS_TAB6_KEPT</source>
        <translation>Their recordings are kept in %1; nothing is lost.</translation>
    </message>
    <message>
        <source>IDS_TAB6_REPLACED</source>
        <translation>%1 damaged samples (not a number or infinite) were added as silence.</translation>
    </message>
    <message>
        <source>IDS_BUTTON_OPEN_ALBUM</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:14px; font-weight:600; color:#2c3440;"&gt;Open the album folder&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB7_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Name your tracks&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB7_TEXT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; line-height:130%; color:#6b7482;"&gt;A track without a name is called “Unknown Track”.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB8_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Name tracks 11 to 20&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB9_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Name tracks 21 to 30&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB10_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Name tracks 31 to 40&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_MORETRACKS_TEXT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:9px; font-size:14px; line-height:135%; color:#3b4451;"&gt;Type a name for each of these tracks.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_PREFERENCES</source>
        <translation>Preferences</translation>
    </message>
    <message>
        <source>IDS_PREFERENCES_BUTTON</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0;"&gt;Preferences…&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_PREFS_LIBRARY</source>
        <translation>Music library folder:</translation>
    </message>
    <message>
        <source>IDS_PREFS_CHOOSE</source>
        <translation>Choose…</translation>
    </message>
    <message>
        <source>IDS_PREFS_FORMAT</source>
        <translation>Format:</translation>
    </message>
    <message>
        <source>IDS_PREFS_QUALITY</source>
        <translation>Quality:</translation>
    </message>
    <message>
        <source>IDS_PREFS_SMALLER</source>
        <translation>Smaller files</translation>
    </message>
    <message>
        <source>IDS_PREFS_BETTER</source>
        <translation>Better sound</translation>
    </message>
    <message>
        <source>IDS_PREFS_FOLDER_MISSING</source>
        <translation>The folder %1 is not there. Use it anyway? (It may be on a drive that is not plugged in; tracks wait until it is.)</translation>
    </message>
    <message>
        <source>IDS_FORMAT_FLAC</source>
        <translation>FLAC (lossless)</translation>
    </message>
    <message>
        <source>IDS_FORMAT_MP3</source>
        <translation>MP3</translation>
    </message>
    <message>
        <source>IDS_FORMAT_OGG</source>
        <translation>Ogg Vorbis</translation>
    </message>
    <message>
        <source>IDS_FORMAT_OPUS</source>
        <translation>Opus</translation>
    </message>
    <message>
        <source>IDS_FORMAT_WAV</source>
        <translation>WAV (uncompressed)</translation>
    </message>
    <message>
        <source>IDS_YEAR</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; font-weight:600; color:#5d6775;"&gt;Year&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_SIDE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; font-weight:600; color:#5d6775;"&gt;Side&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB13_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Check your tracks&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB13_TEXT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; line-height:130%; color:#6b7482;"&gt;Drag a red marker to move a split, double-click or “Split here” to add one; choose one and press Delete to join two tracks. The mouse wheel zooms in, Space listens.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB13_COUNT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:13px; color:#3b4451;"&gt;Number of tracks&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_SPLIT_HERE</source>
        <translation>&lt;p&gt;Split here&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_JOIN</source>
        <translation>&lt;p&gt;Join&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_LISTEN</source>
        <translation>&lt;p&gt;Listen&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB13_SUMMARY</source>
        <translation>Tracks: %1 · Length: %2</translation>
    </message>
    <message>
        <source>IDS_TAB13_TOO_MANY</source>
        <translation>Join tracks until there are 40 at most.</translation>
    </message>
    <message>
        <source>IDS_TAB13_READING</source>
        <translation>Reading the recording…</translation>
    </message>
    <message>
        <source>IDS_TAB13_UNREADABLE</source>
        <translation>The recording could not be read:</translation>
    </message>
    <message>
        <source>IDS_TAB13_CUTTING</source>
        <translation>Cutting the tracks…</translation>
    </message>
    <message>
        <source>IDS_TAB13_CUT_FAILED</source>
        <translation>The tracks could not be cut; the recording is kept as it was.</translation>
    </message>
    <message>
        <source>IDS_TAB13_KEEP_AS_RECORDED</source>
        <translation>Go on with the tracks as they were split while recording?</translation>
    </message>
    <message>
        <source>IDS_TAB13_NOTHING</source>
        <translation>Nothing was recorded.</translation>
    </message>
    <message>
        <source>The disk is full. Recording stopped; the %1 tracks recorded so far are kept.</source>
        <translation>The disk is full. Recording stopped; the %1 tracks recorded so far are kept.</translation>
    </message>
    <message>
        <source>The recording could not be written (%2). Recording stopped; the %1 tracks recorded so far are kept.</source>
        <translation>The recording could not be written (%2). Recording stopped; the %1 tracks recorded so far are kept.</translation>
    </message>
    <message>
        <source>Discard the recording of %1 tracks?</source>
        <translation>Discard the recording of %1 tracks?</translation>
    </message>
    <message>
        <source>A recording of %1 tracks, %2, from %3 was not finished.</source>
        <translation>A recording of %1 tracks, %2, from %3 was not finished.</translation>
    </message>
    <message>
        <source>Recover</source>
        <translation>Recover</translation>
    </message>
    <message>
        <source>Discard</source>
        <translation>Discard</translation>
    </message>
    <message>
        <source>Only about %1 minutes of recording fit on the disk that keeps the recordings. Free some space first, or the recording may stop before the side ends.</source>
        <translation>Only about %1 minutes of recording fit on the disk that keeps the recordings. Free some space first, or the recording may stop before the side ends.</translation>
    </message>
    <message>
        <source>The recording could not start.</source>
        <translation>The recording could not start.</translation>
    </message>
    <message>
        <source>The recording could not be recovered.</source>
        <translation>The recording could not be recovered.</translation>
    </message>
    <message>
        <source>The disk is full. Recording stopped; the track recorded so far is kept.</source>
        <translation>The disk is full. Recording stopped; the track recorded so far is kept.</translation>
    </message>
    <message>
        <source>The recording could not be written (%2). Recording stopped; the track recorded so far is kept.</source>
        <translation>The recording could not be written (%2). Recording stopped; the track recorded so far is kept.</translation>
    </message>
    <message>
        <source>Discard the recording of 1 track?</source>
        <translation>Discard the recording of 1 track?</translation>
    </message>
    <message>
        <source>A recording of 1 track, %2, from %3 was not finished.</source>
        <translation>A recording of 1 track, %2, from %3 was not finished.</translation>
    </message>
    <message>
        <source>Recover names and adds its tracks; Discard deletes it.</source>
        <translation>Recover names and adds its tracks; Discard deletes it.</translation>
    </message>
</context>
</TS>

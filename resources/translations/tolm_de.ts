<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de">
<context>
    <name>Tolm</name>
    <message>
        <source>IDS_WARNING</source>
        <translation>Achtung</translation>
    </message>
    <message>
        <source>IDS_YES</source>
        <translation>Ja</translation>
    </message>
    <message>
        <source>IDS_NO</source>
        <translation>Nein</translation>
    </message>
    <message>
        <source>IDS_CONTINUE</source>
        <translation>Weiter</translation>
    </message>
    <message>
        <source>IDS_UNKNOWN_TRACK</source>
        <translation>Unbekannter Titel</translation>
    </message>
    <message>
        <source>IDS_UNKNOWN_ARTIST</source>
        <translation>Unbekannter Interpret</translation>
    </message>
    <message>
        <source>IDS_UNKNOWN_ALBUM</source>
        <translation>Unbekanntes Album</translation>
    </message>
    <message>
        <source>There was a problem creating the audio file. Your recording may not be successful.</source>
        <translation>Beim Anlegen der Audiodatei ist ein Fehler aufgetreten. Ihre Aufnahme ist möglicherweise unvollständig.</translation>
    </message>
    <message>
        <source>IDS_NODEVICE</source>
        <translation>&lt;p style="margin-top:0;"&gt;&lt;b&gt;Es wurde kein Plattenspieler und kein Kassettendeck gefunden.&lt;/b&gt;&lt;/p&gt;&lt;p style="margin-top:0;"&gt;Verbinden Sie das Gerät mit einem USB-Anschluss Ihres Computers und schalten Sie es ein. Warten Sie einige Sekunden und klicken Sie dann erneut auf „Weiter“.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TOOMANYDEVICES</source>
        <translation>&lt;p style="margin-top:0;"&gt;&lt;b&gt;Es ist mehr als ein Plattenspieler oder Kassettendeck angeschlossen.&lt;/b&gt;&lt;/p&gt;&lt;p style="margin-top:0;"&gt;Trennen Sie alle Geräte bis auf das, von dem Sie aufnehmen möchten, und klicken Sie dann erneut auf „Weiter“.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_LASTTRACK</source>
        <translation>&lt;p style="margin-top:0;"&gt;&lt;b&gt;Der nächste Titel ist der letzte dieser Aufnahme.&lt;/b&gt;&lt;/p&gt;&lt;p style="margin-top:0;"&gt;Eine Aufnahme fasst bis zu 40 Titel. Klicken Sie auf „Stopp“, wenn dieser Titel zu Ende ist.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_LIMIT</source>
        <translation>&lt;p style="margin-top:0;"&gt;&lt;b&gt;Diese Aufnahme hat 40 Titel erreicht.&lt;/b&gt;&lt;/p&gt;&lt;p style="margin-top:0;"&gt;Mehr fasst eine Aufnahme nicht, deshalb endet sie hier. Benennen Sie diese Titel und nehmen Sie den Rest als neue Aufnahme auf.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_CANCEL_RECORDING</source>
        <translation>&lt;p style="margin-top:0;"&gt;&lt;b&gt;Möchten Sie Tolm Audio Converter beenden?&lt;/b&gt;&lt;/p&gt;&lt;p style="margin-top:0;"&gt;Was Sie aufgenommen, aber noch nicht in Ihre Musikbibliothek übernommen haben, geht verloren.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_ITUNES_ERROR</source>
        <translation>&lt;p style="margin-top:0;"&gt;&lt;b&gt;Ihre Musikbibliothek ist nicht erreichbar.&lt;/b&gt;&lt;/p&gt;&lt;p style="margin-top:0;"&gt;Prüfen Sie, ob das Laufwerk oder der Netzwerkordner mit Ihrer Musikbibliothek verbunden ist und ob Sie dort schreiben dürfen. Ihre Aufnahme bleibt erhalten, bis sie übernommen werden kann.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_NEXT</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:14px; font-weight:600; color:#ffffff;"&gt;Weiter&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_BACK</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:14px; font-weight:600; color:#2c3440;"&gt;Zurück&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_CONTINUE</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:14px; font-weight:600; color:#ffffff;"&gt;Weiter&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_RECORD</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:14px; font-weight:600; color:#ffffff;"&gt;&lt;span style="font-size:13px;"&gt;●&lt;/span&gt;&amp;nbsp;&amp;nbsp;Aufnehmen&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_STOP</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:14px; font-weight:600; color:#ffffff;"&gt;&lt;span style="font-size:12px; color:#ff6b63;"&gt;■&lt;/span&gt;&amp;nbsp;&amp;nbsp;Stopp&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_NEWTRACK</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:14px; font-weight:600; color:#2c3440;"&gt;Neuer Titel&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_YES</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:14px; font-weight:600; color:#2c3440;"&gt;Ja, noch eine&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_NO</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:14px; font-weight:600; color:#2c3440;"&gt;Nein, fertig&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_BOTTOM_TURNTABLE</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:15px; font-weight:600; color:#2c3440;"&gt;Plattenspieler&lt;/p&gt;&lt;p align="center" style="margin-top:2px; margin-bottom:0; font-size:12px; color:#6b7482;"&gt;Schallplatten&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_BOTTOM_TAPEDECK</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:15px; font-weight:600; color:#2c3440;"&gt;Kassettendeck&lt;/p&gt;&lt;p align="center" style="margin-top:2px; margin-bottom:0; font-size:12px; color:#6b7482;"&gt;Audiokassetten&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_BOTTOM_NORMALTAPE</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:15px; font-weight:600; color:#2c3440;"&gt;Normal&lt;/p&gt;&lt;p align="center" style="margin-top:2px; margin-bottom:0; font-size:12px; color:#6b7482;"&gt;Typ I&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_BOTTOM_CHROMETAPE</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:15px; font-weight:600; color:#2c3440;"&gt;Chrom&lt;/p&gt;&lt;p align="center" style="margin-top:2px; margin-bottom:0; font-size:12px; color:#6b7482;"&gt;Typ II · CrO₂ · High Bias&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB1_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Plattenspieler oder Kassettendeck anschließen&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB1_TEXT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:9px; font-size:14px; line-height:135%; color:#3b4451;"&gt;Machen Sie aus Ihren Schallplatten und Kassetten Titel in Ihrer Musikbibliothek, Seite für Seite.&lt;/p&gt;&lt;ol style="margin-top:0; margin-left:0; -qt-list-indent:1; font-size:14px; line-height:135%; color:#3b4451;"&gt;&lt;li style="margin-bottom:7px;"&gt;Verbinden Sie das USB-Kabel Ihres Plattenspielers oder Kassettendecks mit dem Computer.&lt;/li&gt;&lt;li style="margin-bottom:7px;"&gt;Schalten Sie das Gerät ein.&lt;/li&gt;&lt;li style="margin-bottom:7px;"&gt;Klicken Sie auf „Weiter“. Tolm Audio Converter findet das Gerät von selbst.&lt;/li&gt;&lt;/ol&gt;</translation>
    </message>
    <message>
        <source>IDS_SELECTDEVICE_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Was spielen Sie ab?&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_SELECTDEVICE_TEXT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:9px; font-size:14px; line-height:135%; color:#3b4451;"&gt;Ihr Gerät spielt Schallplatten oder Kassetten ab. Wählen Sie, was Sie aufnehmen, damit der Klang passend eingestellt wird.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_SELECTTAPE_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Welche Art von Kassette ist es?&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_SELECTTAPE_TEXT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:9px; font-size:14px; line-height:135%; color:#3b4451;"&gt;Chromkassetten tragen auf dem Etikett oder der Hülle „Chrom“, „CrO₂“, „High Bias“ oder „Typ II“. Im Zweifel wählen Sie „Normal“.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB2_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Aufnahmepegel einstellen&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB2_TEXT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:9px; font-size:14px; line-height:135%; color:#3b4451;"&gt;Spielen Sie die lauteste Stelle ab und stellen Sie den Regler so ein, dass die Balken weit nach oben reichen und die Lämpchen darüber dunkel bleiben. Gehen Sie dann zum Anfang der Seite zurück und klicken Sie auf „Aufnehmen“.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB2_GAIN</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; font-weight:600; color:#5d6775;"&gt;Aufnahmepegel&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB2_SPLIT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:9px; font-size:14px; line-height:135%; color:#3b4451;"&gt;An den leisen Pausen in Titel teilen&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB2_SPLIT_HINT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; line-height:130%; color:#6b7482;"&gt;Schalten Sie dies aus, um jeden neuen Titel während der Aufnahme selbst zu markieren.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB3_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Aufnahme läuft …&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB3_TEXT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:9px; font-size:14px; line-height:135%; color:#3b4451;"&gt;Spielen Sie die Seite von Anfang an ab. Klicken Sie am Ende auf „Stopp“; eine lange Stille am Ende einer Seite beendet die Aufnahme von selbst.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB3_NEWTRACK_HINT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; line-height:130%; color:#6b7482;"&gt;Klicken Sie auf „Neuer Titel“, wo der nächste Titel beginnt.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB3_TIME</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; font-weight:600; color:#5d6775;"&gt;Dauer dieses Titels&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB3_TRACK</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; font-weight:600; color:#5d6775;"&gt;Titel&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB4_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Titel benennen&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB4_TEXT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:9px; font-size:14px; line-height:135%; color:#3b4451;"&gt;Geben Sie Interpret, Album und den Namen des Titels ein. Sie werden mit dem Titel in Ihrer Musikbibliothek gespeichert.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_LABEL_ARTIST</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; font-weight:600; color:#5d6775;"&gt;Interpret&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_LABEL_ALBUM</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; font-weight:600; color:#5d6775;"&gt;Album&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_LABEL_TRACKNAME</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; font-weight:600; color:#5d6775;"&gt;Titelname&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_LABEL_TRACKS</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; font-weight:600; color:#5d6775;"&gt;Titelnamen&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB5_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Übernahme in Ihre Musikbibliothek&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB5_TEXT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:9px; font-size:14px; line-height:135%; color:#3b4451;"&gt;Ihre Titel werden in Ihrer Musikbibliothek gespeichert, benannt und beschriftet. Das dauert für jeden Titel einen Moment.&lt;/p&gt;&lt;p style="margin-top:0; margin-bottom:9px; font-size:14px; line-height:135%; color:#3b4451;"&gt;Sie können schon die nächste Platte auflegen.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB6_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Fertig! Ihre Titel sind in Ihrer Musikbibliothek&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB6_TEXT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:9px; font-size:14px; line-height:135%; color:#3b4451;"&gt;Möchten Sie eine weitere Platte oder Kassette aufnehmen?&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB6_TITLE_NOT_ALL</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Nicht alle Titel sind in Ihrer Musikbibliothek&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB6_ADDED</source>
        <translation>%1 von %2 Titeln wurden in %3 gespeichert.</translation>
    </message>
    <message>
        <source>IDS_TAB6_NOT_ADDED</source>
        <translation>Titel %1, „%2“, wurde nicht übernommen: %3</translation>
    </message>
    <message>
        <source>IDS_TAB6_KEPT</source>
        <translation>Ihre Aufnahmen bleiben in %1 erhalten; nichts geht verloren.</translation>
    </message>
    <message>
        <source>IDS_TAB6_REPLACED</source>
        <translation>%1 beschädigte Abtastwerte (keine Zahl oder unendlich) wurden als Stille übernommen.</translation>
    </message>
    <message>
        <source>IDS_BUTTON_OPEN_ALBUM</source>
        <translation>&lt;p align="center" style="margin-top:0; margin-bottom:0; font-size:14px; font-weight:600; color:#2c3440;"&gt;Albumordner öffnen&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB7_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Titel benennen&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB7_TEXT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; line-height:130%; color:#6b7482;"&gt;Ein Titel ohne Namen heißt „Unbekannter Titel“.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB8_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Titel 11 bis 20 benennen&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB9_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Titel 21 bis 30 benennen&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB10_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Titel 31 bis 40 benennen&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_MORETRACKS_TEXT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:9px; font-size:14px; line-height:135%; color:#3b4451;"&gt;Geben Sie für jeden dieser Titel einen Namen ein.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_PREFERENCES</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>IDS_PREFERENCES_BUTTON</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0;"&gt;Einstellungen…&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_PREFS_LIBRARY</source>
        <translation>Ordner der Musiksammlung:</translation>
    </message>
    <message>
        <source>IDS_PREFS_CHOOSE</source>
        <translation>Auswählen…</translation>
    </message>
    <message>
        <source>IDS_PREFS_FORMAT</source>
        <translation>Format:</translation>
    </message>
    <message>
        <source>IDS_PREFS_QUALITY</source>
        <translation>Qualität:</translation>
    </message>
    <message>
        <source>IDS_PREFS_SMALLER</source>
        <translation>Kleinere Dateien</translation>
    </message>
    <message>
        <source>IDS_PREFS_BETTER</source>
        <translation>Besserer Klang</translation>
    </message>
    <message>
        <source>IDS_PREFS_FOLDER_MISSING</source>
        <translation>Den Ordner %1 gibt es nicht. Trotzdem verwenden? (Er kann auf einem Laufwerk liegen, das nicht angeschlossen ist; die Titel warten dann darauf.)</translation>
    </message>
    <message>
        <source>IDS_FORMAT_FLAC</source>
        <translation>FLAC (verlustfrei)</translation>
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
        <translation>WAV (unkomprimiert)</translation>
    </message>
    <message>
        <source>IDS_YEAR</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; font-weight:600; color:#5d6775;"&gt;Jahr&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_SIDE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; font-weight:600; color:#5d6775;"&gt;Seite&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB13_TITLE</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:22px; font-weight:600; color:#ffffff;"&gt;Titel prüfen&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB13_TEXT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:12px; line-height:130%; color:#6b7482;"&gt;Rote Marken ziehen verschiebt Trennstellen, Doppelklick oder „Hier teilen“ fügt eine hinzu, Entf verbindet zwei Titel. Mausrad vergrößert, Leertaste spielt ab.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB13_COUNT</source>
        <translation>&lt;p style="margin-top:0; margin-bottom:0; font-size:13px; color:#3b4451;"&gt;Anzahl der Titel&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_SPLIT_HERE</source>
        <translation>&lt;p&gt;Hier teilen&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_JOIN</source>
        <translation>&lt;p&gt;Verbinden&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_BUTTON_LISTEN</source>
        <translation>&lt;p&gt;Anhören&lt;/p&gt;</translation>
    </message>
    <message>
        <source>IDS_TAB13_SUMMARY</source>
        <translation>Titel: %1 · Länge: %2</translation>
    </message>
    <message>
        <source>IDS_TAB13_TOO_MANY</source>
        <translation>Verbinden Sie Titel, bis es höchstens 40 sind.</translation>
    </message>
    <message>
        <source>IDS_TAB13_READING</source>
        <translation>Die Aufnahme wird gelesen…</translation>
    </message>
    <message>
        <source>IDS_TAB13_UNREADABLE</source>
        <translation>Die Aufnahme konnte nicht gelesen werden:</translation>
    </message>
    <message>
        <source>IDS_TAB13_CUTTING</source>
        <translation>Die Titel werden geschnitten…</translation>
    </message>
    <message>
        <source>IDS_TAB13_CUT_FAILED</source>
        <translation>Die Titel konnten nicht geschnitten werden; die Aufnahme bleibt, wie sie war.</translation>
    </message>
    <message>
        <source>IDS_TAB13_KEEP_AS_RECORDED</source>
        <translation>Mit den Titeln weitermachen, wie sie bei der Aufnahme geteilt wurden?</translation>
    </message>
    <message>
        <source>IDS_TAB13_NOTHING</source>
        <translation>Es wurde nichts aufgenommen.</translation>
    </message>
    <message>
        <source>The disk is full. Recording stopped; the %1 tracks recorded so far are kept.</source>
        <translation>Die Festplatte ist voll. Die Aufnahme wurde angehalten; die %1 bisher aufgenommenen Titel bleiben erhalten.</translation>
    </message>
    <message>
        <source>The recording could not be written (%2). Recording stopped; the %1 tracks recorded so far are kept.</source>
        <translation>Die Aufnahme konnte nicht geschrieben werden (%2). Die Aufnahme wurde angehalten; die %1 bisher aufgenommenen Titel bleiben erhalten.</translation>
    </message>
    <message>
        <source>Discard the recording of %1 tracks?</source>
        <translation>Die Aufnahme mit %1 Titeln verwerfen?</translation>
    </message>
    <message>
        <source>A recording of %1 tracks, %2, from %3 was not finished.</source>
        <translation>Eine Aufnahme mit %1 Titeln, %2, vom %3 wurde nicht abgeschlossen.</translation>
    </message>
    <message>
        <source>Recover</source>
        <translation>Wiederherstellen</translation>
    </message>
    <message>
        <source>Discard</source>
        <translation>Verwerfen</translation>
    </message>
    <message>
        <source>Only about %1 minutes of recording fit on the disk that keeps the recordings. Free some space first, or the recording may stop before the side ends.</source>
        <translation>Auf dem Datenträger für die Aufnahmen ist nur noch Platz für etwa %1 Minuten. Schaffen Sie zuerst Platz, sonst endet die Aufnahme womöglich vor dem Ende der Seite.</translation>
    </message>
    <message>
        <source>The recording could not start.</source>
        <translation>Die Aufnahme konnte nicht beginnen.</translation>
    </message>
    <message>
        <source>The recording could not be recovered.</source>
        <translation>Die Aufnahme konnte nicht wiederhergestellt werden.</translation>
    </message>
    <message>
        <source>The disk is full. Recording stopped; the track recorded so far is kept.</source>
        <translation>Die Festplatte ist voll. Die Aufnahme wurde angehalten; der bisher aufgenommene Titel bleibt erhalten.</translation>
    </message>
    <message>
        <source>The recording could not be written (%2). Recording stopped; the track recorded so far is kept.</source>
        <translation>Die Aufnahme konnte nicht geschrieben werden (%2). Die Aufnahme wurde angehalten; der bisher aufgenommene Titel bleibt erhalten.</translation>
    </message>
    <message>
        <source>Discard the recording of 1 track?</source>
        <translation>Die Aufnahme mit 1 Titel verwerfen?</translation>
    </message>
    <message>
        <source>A recording of 1 track, %2, from %3 was not finished.</source>
        <translation>Eine Aufnahme mit 1 Titel, %2, vom %3 wurde nicht abgeschlossen.</translation>
    </message>
    <message>
        <source>Recover names and adds its tracks; Discard deletes it.</source>
        <translation>„Wiederherstellen“ benennt die Titel und fügt sie hinzu; „Verwerfen“ löscht die Aufnahme.</translation>
    </message>
</context>
</TS>

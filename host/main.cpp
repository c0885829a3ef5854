// The command line of `tolvane`: what may be said, what it means, and the help texts. The commands stand in
// files of their own.
#include <CLI/CLI.hpp>

#include <tolvane.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <iterator>
#include <string_view>

#include "commands.h"
#include "drawing.h"

namespace tolvane::host {
namespace {

constexpr const char* kTimes =
    "Times: 12.5 or 1:02.5 or 1:02:03 (hours, minutes, seconds), 250ms,\n       44100s (samples), 4096b "
    "(bytes).";
constexpr const char* kExitCodes = "Exit codes: 0 done, 1 bad arguments, 2 failed, 130 interrupted.";

struct Request {
    std::vector<std::string> files;
    CardRequest card;
    PlayRequest play;
    RecordRequest record;
    ConvertRequest convert;
    ReformatRequest reformat;
    EditRequest edit;
    DrawRequest draw;
    LevelRequest level;
    SessionRequest session;
    VolumeRequest volume;
    SourcesRequest sources;
};

std::string CheckPcmShape(const std::string& text) {
    return ParsePcmShape(text)
               ? ""
               : "'" + text +
                     "' is no PCM format; those look like 44100/16/2: rate, 8 or 16 bits, 1 or 2 channels";
}

std::string CheckMoment(const std::string& text) {
    return ParseMoment(text)
               ? ""
               : "'" + text +
                     "' is no time; times look like 12.5, 1:02.5, 250ms, 44100s (samples), 4096b (bytes)";
}

std::string CheckPlace(const std::string& text) {
    return text == "end" ? "" : CheckMoment(text);
}

std::string CheckChannels(const std::string& text) {
    return ParseChannelMask(text) ? ""
                                  : "'" + text + "' is no channel; there are left, right, all or numbers";
}

CLI::Option* AddMoment(CLI::App* command, const char* name, std::optional<Moment>& moment, const char* help) {
    return command
        ->add_option_function<std::string>(
            name, [&moment](const std::string& text) { moment = ParseMoment(text); }, help)
        ->check(CLI::Validator(CheckMoment, ""))
        ->type_name("TIME");
}

void AddPlace(CLI::App* command, const char* name, Place& place, const char* help, bool required) {
    command
        ->add_option_function<std::string>(
            name, [&place](const std::string& text) { place = *ParsePlace(text); }, help)
        ->check(CLI::Validator(CheckPlace, ""))
        ->required(required)
        ->type_name(*name == '-' ? "TIME" : "");
}

void AddCard(CLI::App* command, CardRequest& card) {
    command->add_option("--card", card.name, "server: the sound server; virtual: no hardware needed; none")
        ->check(CLI::IsMember({"server", "virtual", "none"}).description(""))
        ->type_name("CARD");
}

void AddInfo(CLI::App& app, Request& request) {
    CLI::App* command = app.add_subcommand("info", "Show format and length of wave files and MP3 files");
    command->add_option("FILE", request.files, "Wave files, compressed ones too, and MP3 files")
        ->required()
        ->type_name("");
    command->footer("Examples:\n  tolvane info speech.wav song.mp3\n  tolvane info takes/*.wav");
}

void AddLevel(CLI::App& app, Request& request) {
    LevelRequest& level = request.level;
    CLI::App* command = app.add_subcommand("level", "Show how loud wave files are");
    command->add_option("FILE", level.files, "Wave files (PCM)")->required()->type_name("");
    AddPlace(command, "--from", level.from, "Begin at this time", false);
    AddPlace(command, "--to", level.to, "End at this time", false);
    command->footer(std::string(kTimes) +
                    "\nThe highest peak of each channel; one that reaches full scale is marked as clipped.\n"
                    "Examples:\n  tolvane level music.wav\n  tolvane level takes/*.wav\n"
                    "  tolvane level music.wav --from 1:02.5 --to 1:10");
}

void AddDevices(CLI::App& app, Request& request) {
    CLI::App* command = app.add_subcommand("devices", "List the sound devices, the preferred ones marked");
    AddCard(command, request.card);
    command->footer("Examples:\n  tolvane devices\n  tolvane devices --card virtual");
}

void AddCodecs(CLI::App& app, Request&) {
    app.add_subcommand("codecs", "List the installed codecs with their format tags")
        ->footer("Example:\n  tolvane codecs");
}

void AddVolume(CLI::App& app, Request& request) {
    VolumeRequest& volume = request.volume;
    CLI::App* command = app.add_subcommand("volume", "Show or set the volume of playback or of recording");
    command->add_option("PERCENT", volume.percent, "0 to 100; leave it out to show the volumes")
        ->check(CLI::Range(0, 100).description(""))
        ->type_name("");
    command->add_flag("--record", volume.record, "The volume of recording, from the first source");
    command
        ->add_option("--source", volume.source,
                     "The volume of recording from this source, which is used then")
        ->type_name("N|NAME");
    command->add_flag("--mute", volume.mute, "No sound, until --unmute or another volume");
    command->add_flag("--unmute", volume.unmute, "The volume from before --mute");
    AddCard(command, volume.card);
    command->footer(
        "These are settings of the system, which every program hears.\n"
        "Examples:\n  tolvane volume\n  tolvane volume 40\n  tolvane volume --mute\n"
        "  tolvane volume 70 --source 'line in'");
}

void AddSources(CLI::App& app, Request& request) {
    SourcesRequest& sources = request.sources;
    CLI::App* command = app.add_subcommand("sources", "List what can be recorded from, or choose it");
    command->add_option("SOURCE", sources.source, "Record from this one: number or (part of) its name")
        ->type_name("N|NAME");
    AddCard(command, sources.card);
    command->footer(
        "This is a setting of the system, and holds for every program.\n"
        "Examples:\n  tolvane sources\n  tolvane sources 1\n  tolvane sources mic");
}

void AddPlayOptions(CLI::App* command, PlayRequest& play) {
    command->add_option("FILE", play.files, "Wave files or MP3 files, played one after the other")
        ->required()
        ->type_name("");
    AddMoment(command, "--from", play.from, "Start at this time");
    AddMoment(command, "--to", play.to, "End at this time");
    command->add_option("--rate", play.rate, "Play at this sample rate instead of the file's own")
        ->check(CLI::Range(1, 1'000'000).description(""))
        ->type_name("HZ");
    command->add_flag("--repeat", play.repeat, "Start again at the end, until stopped");
    command->add_option("--device", play.device, "Output device: number or (part of) its name")
        ->type_name("N|NAME");
    AddCard(command, play.card);
    command->add_option("--into", play.into, "Write what the virtual card plays into this wave file")
        ->type_name("WAVE");
    command->add_flag("--quiet", play.quiet, "Say nothing but failures; no keys");
}

std::string CheckLoudness(const std::string& text) {
    return ParseLoudness(text) ? ""
                               : "'" + text +
                                     "' is no volume; those look like 80 or 80,40 (left, right): percent "
                                     "up to 400";
}

void AddLoudness(CLI::App* command, const char* name, Loudness& loudness, const char* help) {
    command
        ->add_option_function<std::string>(
            name, [&loudness](const std::string& text) { loudness = *ParseLoudness(text); }, help)
        ->check(CLI::Validator(CheckLoudness, ""))
        ->type_name("L[,R]");
}

void AddMixing(CLI::App* command, PlayRequest& play) {
    AddLoudness(command, "--volume", play.volume, "Percent of the samples, above 100 louder; not for MP3");
    command->add_option("--mix", play.mix, "Lay this wave file over it")->type_name("WAVE");
    AddLoudness(command, "--mix-volume", play.mix_volume, "Volume of that file");
    command->add_flag("--average", play.average, "Mix the average of both instead of their sum");
}

void AddPlay(CLI::App& app, Request& request) {
    CLI::App* command = app.add_subcommand("play", "Play wave files or MP3 files");
    AddPlayOptions(command, request.play);
    AddMixing(command, request.play);
    command->footer(std::string(kTimes) +
                    "\nKeys: space pause, left and right 5 s, home, n and p next and previous file,\n"
                    "      + and - volume, q or Esc stop, ? help, Ctrl-C.\n"
                    "Examples:\n  tolvane play speech.wav\n  tolvane play music.wav --from 1:02.5 --to 1:10\n"
                    "  tolvane play one.mp3 two.mp3 three.mp3\n"
                    "  tolvane play speech.wav --mix music.wav --mix-volume 30\n"
                    "  tolvane play loop.wav --repeat --device 1\n"
                    "  tolvane play music.wav --card virtual --into heard.wav");
}

std::string CheckEffect(const std::string& text) {
    return ParseEffect(text)
               ? ""
               : "'" + text + "' is no effect; those look like ./gain.so=50 (numbers) or ./gain.so=@file";
}

void AddRecordOptions(CLI::App* command, RecordRequest& record) {
    command->add_option("FILE", record.file, "Wave file to write")->required()->type_name("");
    command->add_option("--rate", record.shape.rate, "Sample rate, 44100 if left out")
        ->check(CLI::Range(1u, kLargestRate).description(""))
        ->type_name("HZ");
    command->add_option("--bits", record.shape.bits, "8 or 16 (if left out)")
        ->check(CLI::IsMember({8, 16}).description(""))
        ->type_name("BITS");
    command->add_option("--channels", record.shape.channels, "1 or 2 (if left out)")
        ->check(CLI::IsMember({1, 2}).description(""))
        ->type_name("COUNT");
    command->add_option("--device", record.device, "Input device: number or (part of) its name")
        ->type_name("N|NAME");
    command->add_option("--source", record.source, "Record source of the mixer: number or (part of) its name")
        ->type_name("N|NAME");
    AddMoment(command, "--lead-in", record.lead_in, "Begin with that much silence");
    AddMoment(command, "--punch-in", record.punch_in, "Up to this place in the file, write silence instead");
    AddMoment(command, "--stop-at", record.stop_at,
              "Stop when the file is so long; the 0.375 s with the punch-in are written whole");
    AddMoment(command, "--min-length", record.min_length, "Fill the file up with silence to this length");
}

void AddEffects(CLI::App* command, RecordRequest& record) {
    command
        ->add_option_function<std::vector<std::string>>(
            "--effect",
            [&record](const std::vector<std::string>& texts) {
                for (const std::string& text : texts)
                    record.effects.push_back(*ParseEffect(text));
            },
            "Effect plug-in and its parameters (up to six times)")
        ->check(CLI::Validator(CheckEffect, ""))
        ->expected(1, 6)
        ->type_name("LIB=PARAMS");
    command->add_option("--insert", record.insert, "Record this wave first, in place of the input; i again")
        ->type_name("WAVE");
}

void AddRecord(CLI::App& app, Request& request) {
    RecordRequest& record = request.record;
    CLI::App* command = app.add_subcommand("record", "Record into a wave file");
    AddRecordOptions(command, record);
    AddEffects(command, record);
    AddCard(command, record.card);
    command->add_option("--hear", record.hear, "What the virtual card hears")->type_name("WAVE");
    command->add_flag("-y,--yes", record.yes, "Replace FILE where it exists");
    command->add_flag("--quiet", record.quiet, "Say nothing but failures; no keys");
    command->footer(
        std::string(kTimes) +
        "\n       Bytes go down to whole samples of every channel.\n"
        "Keys: space pause, q or Esc stop, i insert, home clears the clip mark, ? help.\n"
        "Ctrl-C stops; the file is finished and whole.\n"
        "Examples:\n  tolvane record take.wav\n  tolvane record speech.wav --rate 22050 --channels 1\n"
        "  tolvane record minute.wav --stop-at 1:00 --effect ./gain.so=50\n"
        "  tolvane record copy.wav --card virtual --hear music.wav --stop-at 0:10");
}

void AddConversionFiles(CLI::App* command, ConversionFiles& files) {
    command->add_option("IN", files.source, "Wave file")->required()->type_name("");
    command->add_option("OUT", files.target, "Wave file to write")->required()->type_name("");
}

void AddConversionFlags(CLI::App* command, ConversionFiles& files) {
    command->add_flag("-y,--yes", files.yes, "Replace OUT where it exists; ask nothing");
    command->add_flag("--quiet", files.quiet, "Say nothing but failures; ask nothing");
}

void AddConvert(CLI::App& app, Request& request) {
    CLI::App* command = app.add_subcommand("convert", "Convert a wave file with a codec, or into PCM");
    ConvertRequest& convert = request.convert;
    AddConversionFiles(command, convert.files);
    command
        ->add_option("--codec", convert.codec,
                     "ima, msadpcm, alaw, ulaw, gsm, mp3, pcm, or a name of `tolvane codecs`")
        ->type_name("NAME");
    command
        ->add_option_function<std::string>(
            "--pcm", [&convert](const std::string& text) { convert.pcm = ParsePcmShape(text); },
            "Into PCM of this rate, bits (8, 16) and channels (1, 2)")
        ->check(CLI::Validator(CheckPcmShape, ""))
        ->type_name("RATE/BITS/CHANNELS");
    command
        ->add_option("--format", convert.format, "Which of the codec's formats: number or (part of) its text")
        ->type_name("FORMAT");
    AddConversionFlags(command, convert.files);
    command->footer(
        "Where a codec offers several formats the terminal asks; otherwise the nearest is taken.\n"
        "Ctrl-C stops; nothing is left then, and a file that was there is as it was.\n"
        "Examples:\n  tolvane convert speech.wav small.wav --codec gsm\n"
        "  tolvane convert music.wav music-mp3.wav --codec mp3 --format '44100 Hz, Stereo, 192'\n"
        "  tolvane convert small.wav plain.wav --pcm 22050/16/1 -y");
}

void AddReformat(CLI::App& app, Request& request) {
    CLI::App* command =
        app.add_subcommand("reformat", "Change rate, bits or channels of a PCM file, without any codec");
    ReformatRequest& reformat = request.reformat;
    AddConversionFiles(command, reformat.files);
    command->add_option("--rate", reformat.rate, "Sample rate; a whole multiple or part of the file's own")
        ->check(CLI::Range(1u, kLargestRate).description(""))
        ->type_name("HZ");
    command->add_option("--bits", reformat.bits, "8 or 16")
        ->check(CLI::IsMember({8, 16}).description(""))
        ->type_name("BITS");
    command->add_option("--channels", reformat.channels, "1 or 2")
        ->check(CLI::IsMember({1, 2}).description(""))
        ->type_name("COUNT");
    AddConversionFlags(command, reformat.files);
    command->footer(
        "What is left out stays as it is in IN. Samples are repeated or dropped, without a filter;\n"
        "`tolvane convert --pcm` changes rates with one.\n"
        "Examples:\n  tolvane reformat music.wav half.wav --rate 22050\n"
        "  tolvane reformat music.wav old.wav --rate 11025 --bits 8 --channels 1");
}

void AddSelection(CLI::App* command, EditRequest& edit, bool required) {
    AddPlace(command, "START", edit.start, "Where the selection begins", required);
    AddPlace(command, "END", edit.end, "Where it ends; the end of the sound if left out", false);
}

CLI::App* AddEdit(CLI::App& app, EditRequest& edit, EditKind kind, const char* help, const char* example) {
    CLI::App* command = app.add_subcommand(std::string(NameOf(kind)), help);
    command->add_option("FILE", edit.file, "Wave file (PCM)")->required()->type_name("");
    if (TakesSelection(kind)) AddSelection(command, edit, kind != EditKind::kMute && kind != EditKind::kTrim);
    if (ChangesTheFile(kind))
        command->add_option("-o,--output", edit.target, "Write the result here and leave FILE as it is")
            ->type_name("WAVE");
    command->add_flag("-y,--yes", edit.yes, "Replace other files where they exist");
    command->add_flag("--quiet", edit.quiet, "Say nothing but failures");
    command->callback([&edit, kind] { edit.kind = kind; });
    command->footer(std::string(kTimes) + "\n       `end` is the end of the sound.\n" +
                    "Ctrl-C stops; the file is as it was then.\nExample:\n  " + example);
    return command;
}

void AddCut(CLI::App& app, Request& request) {
    AddEdit(app, request.edit, EditKind::kCut, "Take a part out of a file and put it into another",
            "tolvane cut music.wav 1:02.5 1:10 --to piece.wav")
        ->add_option("--to", request.edit.other, "Wave file to write with what was cut")
        ->required()
        ->type_name("WAVE");
}

void AddCopy(CLI::App& app, Request& request) {
    AddEdit(app, request.edit, EditKind::kCopy, "Write a part of a file into another",
            "tolvane copy music.wav 44100s 88200s --to second.wav")
        ->add_option("--to", request.edit.other, "Wave file to write")
        ->required()
        ->type_name("WAVE");
}

void AddClear(CLI::App& app, Request& request) {
    AddEdit(app, request.edit, EditKind::kClear, "Take a part out of a file",
            "tolvane clear music.wav 1:02.5 1:10 -o shorter.wav");
}

void AddCrop(CLI::App& app, Request& request) {
    AddEdit(app, request.edit, EditKind::kCrop, "Keep nothing but a part of a file",
            "tolvane crop music.wav 0:10 0:20");
}

void AddMute(CLI::App& app, Request& request) {
    EditRequest& edit = request.edit;
    AddEdit(app, edit, EditKind::kMute, "Silence channels of a part",
            "tolvane mute music.wav 0:10 0:20 --channels left")
        ->add_option_function<std::string>(
            "--channels", [&edit](const std::string& text) { edit.channels = *ParseChannelMask(text); },
            "left, right, all (if left out) or numbers: 1,3")
        ->check(CLI::Validator(CheckChannels, ""))
        ->type_name("CHANNELS");
}

void AddTrim(CLI::App& app, Request& request) {
    EditRequest& edit = request.edit;
    AddEdit(app, edit, EditKind::kTrim, "Take the silence off both ends of a file or a part",
            "tolvane trim speech.wav --level 2")
        ->add_option_function<double>(
            "--level", [&edit](double percent) { edit.level = HundredthsOf(percent); },
            "What is not louder is silence; percent of full scale, 1 if left out")
        ->check(CLI::Range(0.0, 100.0).description(""))
        ->type_name("PERCENT");
}

void AddPaste(CLI::App& app, Request& request) {
    EditRequest& edit = request.edit;
    CLI::App* command = AddEdit(app, edit, EditKind::kPaste, "Insert the sound of another file",
                                "tolvane paste music.wav --from piece.wav --at 0:30");
    command->add_option("--from", edit.other, "Wave file of the same format")->required()->type_name("WAVE");
    AddPlace(command, "--at", edit.start, "Where it is inserted", true);
}

void AddSilence(CLI::App& app, Request& request) {
    EditRequest& edit = request.edit;
    CLI::App* command = AddEdit(app, edit, EditKind::kSilence, "Insert silence",
                                "tolvane silence speech.wav --at 0:02 --length 500ms");
    AddPlace(command, "--at", edit.start, "Where it is inserted", true);
    command
        ->add_option_function<std::string>(
            "--length", [&edit](const std::string& text) { edit.length = *ParseMoment(text); },
            "How long it is, in whole milliseconds")
        ->check(CLI::Validator(CheckMoment, ""))
        ->required()
        ->type_name("TIME");
}

void AddDraw(CLI::App& app, Request& request) {
    DrawRequest& draw = request.draw;
    CLI::App* command = app.add_subcommand("draw", "Draw the waveform in the terminal or as a picture");
    command->add_option("FILE", draw.file, "Wave file (PCM)")->required()->type_name("");
    command->add_option("-o,--output", draw.picture, "Write a picture instead")->type_name("PNG");
    AddPlace(command, "--from", draw.from, "Begin at this time", false);
    AddPlace(command, "--to", draw.to, "End at this time", false);
    command->add_option("--width", draw.width, "Columns of the terminal, or dots of the picture")
        ->check(CLI::Range(1u, kLargestDrawing).description(""))
        ->type_name("N");
    command->add_flag("-y,--yes", draw.yes, "Replace the picture where it exists");
    command->footer(
        std::string(kTimes) +
        "\nExamples:\n  tolvane draw music.wav\n  tolvane draw music.wav --from 1:02.5 --to 1:10\n"
        "  tolvane draw music.wav -o music.png --width 2000");
}

void AddSession(CLI::App& app, Request& request) {
    SessionRequest& session = request.session;
    CLI::App* command = app.add_subcommand("edit", "Edit a file command by command, with clipboard and undo");
    command->add_option("FILE", session.file, "Wave file (PCM)")->required()->type_name("");
    command->add_option("-o,--output", session.target, "Edit a copy, and leave FILE as it is")
        ->type_name("WAVE");
    command->add_flag("-y,--yes", session.yes, "Replace the copy where it exists");
    command->add_option("--device", session.device, "Output device: number or (part of) its name")
        ->type_name("N|NAME");
    AddCard(command, session.card);
    command->add_option("--into", session.into, "Write what the virtual card plays into this wave file")
        ->type_name("WAVE");
    command->footer(
        "Every edit changes the file at once; `undo` takes the last one back. `help` lists the commands.\n"
        "A script can be piped in; it ends with the first failure, its line and exit code.\n"
        "Examples:\n  tolvane edit music.wav\n"
        "  printf 'cut 0:10 0:20\\npaste end\\n' | tolvane edit music.wav -o moved.wav");
}

// What one argument means for another.
std::string Contradiction(const ConvertRequest& convert) {
    if (convert.pcm && !convert.codec.empty()) return "say either --codec or --pcm";
    if (!convert.pcm && convert.codec.empty()) return "say what to convert into, with --codec or --pcm";
    if (convert.pcm && !convert.format.empty()) return "--format is for codecs; --pcm says it all";
    return "";
}

std::string Contradiction(const PlayRequest& play) {
    if (play.files.size() > 1 && (play.to || play.rate || !play.mix.empty()))
        return "--to, --rate and --mix are for one file";
    if (play.repeat && !play.mix.empty()) return "--mix plays once: leave --repeat out";
    if (play.average && play.mix.empty()) return "--average says how to mix: name a file with --mix";
    if (!play.into.empty() && !play.card.name.empty() && play.card.name != "virtual")
        return "--into is for the virtual card: leave --card out or say --card virtual";
    return "";
}

std::string Contradiction(const VolumeRequest& volume) {
    if (volume.mute + volume.unmute + volume.percent.has_value() > 1)
        return "say one of PERCENT, --mute and --unmute";
    if (volume.record && (volume.mute || volume.unmute)) return "only playback can be muted";
    return "";
}

int ReportBadArguments(const std::string& why, const std::string& command) {
    std::fprintf(stderr, "tolvane: %s\n  `tolvane %s--help` shows what can be said.\n", why.c_str(),
                 command.c_str());
    return kExitBadArguments;
}

std::string WhyNoCommand(const CLI::App& app, int argc, char** argv) {
    std::string names;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
        names += (names.empty() ? "" : ", ") + command->get_name();
    if (argc < 2) return "Say what to do: " + names + ".";
    return "'" + std::string(argv[1]) + "' is no command; there are " + names + ".";
}

int CheckAndPlay(Request& request) {
    PlayRequest& play = request.play;
    if (const std::string why = Contradiction(play); !why.empty()) return ReportBadArguments(why, "play ");
    if (!play.into.empty()) play.card.name = "virtual";
    return RunPlay(play);
}

int CheckAndRecord(Request& request) {
    RecordRequest& record = request.record;
    if (!record.hear.empty()) record.card.name = "virtual";
    return RunRecord(record);
}

int CheckAndConvert(Request& request) {
    const std::string why = Contradiction(request.convert);
    return why.empty() ? RunConvert(request.convert) : ReportBadArguments(why, "convert ");
}

int CheckAndSetVolume(Request& request) {
    VolumeRequest& volume = request.volume;
    volume.record |= !volume.source.empty();
    const std::string why = Contradiction(volume);
    return why.empty() ? RunVolume(volume) : ReportBadArguments(why, "volume ");
}

int CheckAndRunSession(Request& request) {
    SessionRequest& session = request.session;
    if (!session.into.empty()) session.card.name = "virtual";
    return RunSession(session);
}

int RunOneEdit(Request& request) {
    return RunEdit(request.edit);
}

struct Command {
    std::string_view name;
    void (*add)(CLI::App&, Request&);
    int (*run)(Request&);
};

constexpr Command kCommands[] = {
    {"info", AddInfo, [](Request& request) { return RunInfo(request.files); }},
    {"level", AddLevel, [](Request& request) { return RunLevel(request.level); }},
    {"devices", AddDevices, [](Request& request) { return RunDevices(request.card); }},
    {"codecs", AddCodecs, [](Request&) { return RunCodecs(); }},
    {"volume", AddVolume, CheckAndSetVolume},
    {"sources", AddSources, [](Request& request) { return RunSources(request.sources); }},
    {"play", AddPlay, CheckAndPlay},
    {"record", AddRecord, CheckAndRecord},
    {"convert", AddConvert, CheckAndConvert},
    {"reformat", AddReformat, [](Request& request) { return RunReformat(request.reformat); }},
    {"cut", AddCut, RunOneEdit},
    {"copy", AddCopy, RunOneEdit},
    {"clear", AddClear, RunOneEdit},
    {"crop", AddCrop, RunOneEdit},
    {"mute", AddMute, RunOneEdit},
    {"trim", AddTrim, RunOneEdit},
    {"paste", AddPaste, RunOneEdit},
    {"silence", AddSilence, RunOneEdit},
    {"draw", AddDraw, [](Request& request) { return RunDraw(request.draw); }},
    {"edit", AddSession, CheckAndRunSession},
};

const Command* FindCommand(std::string_view name) {
    const auto found = std::ranges::find(kCommands, name, &Command::name);
    return found == std::end(kCommands) ? nullptr : &*found;
}

// Describing all commands takes longer than most of them work, so the first word's is described alone where it is one.
void AddCommands(CLI::App& app, Request& request, int argc, char** argv) {
    if (const Command* const asked = argc > 1 ? FindCommand(argv[1]) : nullptr)
        return asked->add(app, request);
    for (const Command& command : kCommands)
        command.add(app, request);
}

int ParseAndRun(int argc, char** argv) {
    CLI::App app("Plays, examines, converts and edits wave files.", "tolvane");
    Request request;
    app.require_subcommand(1);
    app.allow_windows_style_options(false);  // a path may begin with a slash
    app.set_version_flag("--version", "tolvane " TOLVANE_VERSION);
    app.footer(kExitCodes);
    AddCommands(app, request, argc, argv);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& asked) {
        return app.exit(asked);
    } catch (const CLI::ParseError& error) {
        const auto commands = app.get_subcommands();
        if (!commands.empty()) return ReportBadArguments(error.what(), commands.front()->get_name() + ' ');
        return ReportBadArguments(WhyNoCommand(app, argc, argv), "");
    }
    return FindCommand(app.get_subcommands().front()->get_name())->run(request);
}

}  // namespace
}  // namespace tolvane::host

int main(int argc, char** argv) {
    try {
        return tolvane::host::ParseAndRun(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "tolvane: %s\n  Try again; close other programs if memory is short.\n",
                     error.what());
        return tolvane::host::kExitFailed;
    }
}

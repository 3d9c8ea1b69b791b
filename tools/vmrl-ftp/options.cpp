#include "vmrl-ftp/options.h"

#include <cctype>
#include <charconv>

namespace vmrlftp {

namespace {

struct Command
{
    const char *name;
    std::size_t least;
    std::size_t most;
    const char *usage;
};

constexpr Command commands[] = {
    {"ls", 0, 1, "ls takes one folder at the most."},
    {"get", 1, 2, "get takes a remote name and, if you like, a local one."},
    {"put", 1, 2, "put takes a local name and, if you like, a remote one."},
    {"rm", 1, 1000, "rm takes the remote names to delete."},
    {"mkdir", 1, 1000, "mkdir takes the remote names to create."},
};

const Command *findCommand(const std::string &name)
{
    for (const Command &command : commands) {
        if (name == command.name)
            return &command;
    }
    return nullptr;
}

bool isBluetoothAddress(const std::string &text)
{
    if (text.size() != 17)
        return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (i % 3 == 2 ? c != ':' : std::isxdigit(c) == 0)
            return false;
    }
    return true;
}

bool parseAddress(const std::string &text, Options &options)
{
    if (isBluetoothAddress(text)) {
        for (const char c : text)
            options.host += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        return true;
    }
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos || colon == 0)
        return false;
    options.host = text.substr(0, colon);
    if (options.host.size() > 2 && options.host.front() == '[' && options.host.back() == ']')
        options.host = options.host.substr(1, options.host.size() - 2);
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data() + colon + 1, end, options.port);
    return error == std::errc() && stop == end && options.port >= 1 && options.port <= 65535;
}

// Options may stand anywhere; "--" ends them, so that a name may begin with a dash.
bool takeOption(const std::vector<std::string> &words, std::size_t &index, Options &options, std::string *error)
{
    const std::string &word = words[index];
    if (word == "-h" || word == "--help") {
        options.help = true;
    } else if (word == "-q" || word == "--quiet") {
        options.quiet = true;
    } else if (word == "-l" || word == "--long") {
        options.longListing = true;
    } else if (word == "--passkey") {
        if (++index == words.size()) {
            *error = "--passkey needs the passkey.";
            return false;
        }
        options.passkey = words[index];
    } else if (word.compare(0, 10, "--passkey=") == 0) {
        options.passkey = word.substr(10);
    } else {
        *error = "There is no option " + word + ".";
        return false;
    }
    return true;
}

bool takeWords(const std::vector<std::string> &words, Options &options, std::string *error)
{
    if (words.size() < 2) {
        *error = "Say where to connect to and what to do: HOST:PORT or a Bluetooth address, and a command.";
        return false;
    }
    if (!parseAddress(words[0], options)) {
        *error = "\"" + words[0] + "\" is neither HOST:PORT with a port from 1 to 65535 nor a Bluetooth address.";
        return false;
    }
    const Command *command = findCommand(words[1]);
    if (!command) {
        *error = "There is no command \"" + words[1] + "\": it is one of ls, get, put, rm and mkdir.";
        return false;
    }
    options.command = words[1];
    options.arguments.assign(words.begin() + 2, words.end());
    for (const std::string &argument : options.arguments) {
        if (argument.empty()) {
            *error = "A name may not be empty.";
            return false;
        }
    }
    if (options.arguments.size() < command->least || options.arguments.size() > command->most) {
        *error = command->usage;
        return false;
    }
    return true;
}

} // namespace

std::optional<Options> parseOptions(const std::vector<std::string> &words, std::string *error)
{
    Options options;
    std::vector<std::string> rest;
    bool ended = false;
    for (std::size_t index = 0; index < words.size(); ++index) {
        const std::string &word = words[index];
        if (!ended && word == "--") {
            ended = true;
        } else if (!ended && word.size() > 1 && word.front() == '-') {
            if (!takeOption(words, index, options, error))
                return std::nullopt;
        } else {
            rest.push_back(word);
        }
    }
    if (options.help)
        return options;
    if (!takeWords(rest, options, error))
        return std::nullopt;
    return options;
}

const char *helpText()
{
    return "Usage: vmrl-ftp [OPTION]... DEVICE COMMAND [ARGUMENT]...\n"
           "Browses the files of a device that offers OBEX file transfer, and moves files both ways.\n"
           "DEVICE is HOST:PORT, or the address AA:BB:CC:DD:EE:FF of a Bluetooth device that is paired.\n"
           "\n"
           "Commands\n"
           "  ls [FOLDER]            list a folder; the top one when none is given\n"
           "  get REMOTE [LOCAL]     fetch a file, or a folder with all that it holds\n"
           "  put LOCAL [REMOTE]     send a file, or a folder with all that it holds\n"
           "  rm REMOTE...           delete files, and folders with all that they hold\n"
           "  mkdir REMOTE...        create folders\n"
           "Remote names start at the device's top folder; \"/\" stands between folders. A target that is a folder\n"
           "already, or ends in \"/\", receives the source under its own name; else it is the new name.\n"
           "\n"
           "Options\n"
           "  -l, --long             ls: sizes and times, too\n"
           "      --passkey PASSKEY  for devices that want one; without it you are asked\n"
           "  -q, --quiet            no progress; errors are still told\n"
           "  -h, --help             this text\n"
           "      --                 what follows is no option\n"
           "\n"
           "Exit codes\n"
           "  0  done\n"
           "  1  an operation failed\n"
           "  2  the command line was not understood\n"
           "  3  the device could not be connected to\n"
           "  130  cancelled with Ctrl-C: a second one ends the program at once\n";
}

} // namespace vmrlftp

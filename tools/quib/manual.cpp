// The manual page, in the macros of man(7).
#include "tools/quib/texts.h"

#include "tools/quib/plan.h"

namespace
{

std::string escaped(const std::string& text)
{
    std::string out;
    for (const char c : text) {
        if (c == '\\')
            out += "\\e";
        else if (c == '-')
            out += "\\-";
        else if (c == '\'')
            out += "\\(aq";
        else if (c == '^')
            out += "\\(ha";
        else if (c == '~')
            out += "\\(ti";
        else
            out += c;
    }
    if (!out.empty() && out[0] == '.')
        out.insert(0, "\\&");
    return out;
}

std::string item(const std::string& name, const std::string& text)
{
    return ".TP\n.B " + escaped(name) + "\n" + escaped(text) + "\n";
}

std::string describe(const Parameter& parameter)
{
    std::string text = parameter.help;
    if (parameter.kind != Kind::flag)
        text += ": " + expectationOf(parameter);
    if (parameter.fallback && *parameter.fallback)
        text += std::string("; left out: ") + parameter.fallback;
    return text + ".";
}

std::string operationText(const Operation& operation)
{
    std::string text = ".SS " + escaped(operation.name) + "\n.B " + escaped(formOf(operation)) +
                       "\n.PP\n" + escaped(operation.summary) + "\n";
    if (*operation.note)
        text += ".PP\n" + escaped(operation.note) + "\n";
    for (const Parameter& parameter : operation.parameters)
        text += item(usageOf(parameter), describe(parameter));
    return text + ".PP\n" + escaped("Depths: " + depthsText(operation)) + "\n";
}

constexpr const char* head =
    ".TH QUIB 1 2026-11-22 \"QuibTool " QUIB_TOOL_VERSION "\" \"User Commands\"\n"
    ".SH NAME\nquib \\- work on pictures from the command line\n"
    ".SH SYNOPSIS\n.B quib\n"
    ".RI [ option \" ...] \" input \" ... [\" operation \" [\" argument \" ...]] ... \" output\n"
    ".br\n.B quib list\n.br\n.B quib help\n.I operation\n.br\n.B quib info\n.IR file \" ...\"\n"
    ".br\n.B quib completion\n.IR bash | zsh | fish\n.br\n.B quib manual\n"
    ".SH DESCRIPTION\n"
    "Each operation is applied in the order given, to each input. An input is a file, a folder, "
    "all of whose pictures are taken, or a pattern in quotes. Several inputs go to a folder, or to "
    "names that are made of\n.BR {name} ,\n.B {number}\nand\n.BR {ext} .\n"
    "An output's ending tells its format. It is written under another name first and then renamed, "
    "so that an output is whole or is not there; it may be the input itself.\n.PP\n"
    "An option behind an operation belongs to it if it has such a one, and to the program "
    "otherwise. Behind\n.B \\-\\-\nall words are files.\n.PP\n"
    "Pictures have 1, 8, 24 or 32 bits per pixel. Grays are read as 8 bits, PNG files of one bit "
    "as "
    "1, and all colours as 32. BMP files of 8 bits become gray. Each operation tells which depths "
    "it takes; others are raised to the next of them.\n.PP\n"
    "Pictures are worked on by processes of their own, as many at once as there are processors. A "
    "picture that fails does not stop the others.\n";

constexpr const char* tail =
    ".SH EXIT STATUS\n.TP\n.B 0\nall went well\n.TP\n.B 1\nsome pictures failed\n.TP\n.B 2\n"
    "wrong usage; nothing was done\n.TP\n.B 130\ninterrupted\n"
    ".SH EXAMPLES\n.EX\n"
    "quib in.png resize 640x480 \\-\\-mode smooth blur 5 over logo.png@10,10 out.png\n"
    "quib photos/ resize 1600x1600 \\-\\-fit inside \\-\\-quality 85 small/\n"
    "quib \\(aqscans/*.bmp\\(aq gray threshold 128 \\(aqbits/{name}.png\\(aq\n"
    "quib in.png convolve 1,2,1:2,4,2:1,2,1 \\-\\-shift 4 out.png\n.EE\n";

} // namespace

std::string manualText()
{
    std::string text = head;
    text += ".SH OPTIONS\n";
    for (const Parameter& setting : allSettings())
        text += item(usageOf(setting), describe(setting));
    text += ".SH OPERATIONS\n";
    for (const Operation& operation : allOperations())
        text += operationText(operation);
    return text + tail;
}

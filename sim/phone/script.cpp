#include <cstdlib>
#include <sstream>

#include "keymap.h"
#include "phone.h"

namespace {

bool number(const std::string& word, int& out, int max)
{
    if (word.empty() || word.size() > 9 || word.find_first_not_of("0123456789") != std::string::npos)
        return false;
    out = std::atoi(word.c_str());
    return out <= max;
}

} // namespace

bool parseScript(const std::string& text, std::vector<ScriptStep>& steps, std::string& error)
{
    std::istringstream in(text);
    std::string line;
    int lineNumber = 0;
    while (std::getline(in, line)) {
        ++lineNumber;
        // A '#' right after "press"/"tap" etc. is the hash key: only a '#'
        // at the start of a word that is not a key argument begins a comment.
        std::istringstream words(line);
        std::vector<std::string> w;
        for (std::string word; words >> word;) {
            if (word[0] == '#' && !(w.size() == 1 && word == "#"))
                break;
            w.push_back(word);
        }
        if (w.empty())
            continue;
        ScriptStep s;
        s.line = lineNumber;
        const std::string& cmd = w[0];
        auto fail = [&](const std::string& why) {
            error = "line " + std::to_string(lineNumber) + ": " + why;
            return false;
        };
        auto key = [&](size_t i) {
            if (w.size() <= i)
                return -1;
            return keymap::rawByName(w[i] == "#" ? "hash" : w[i] == "*" ? "star" : w[i]);
        };
        if (cmd == "wait") {
            s.kind = ScriptStep::Wait;
            if (w.size() != 2 || !number(w[1], s.number, 600000))
                return fail("wait needs milliseconds");
        } else if (cmd == "press" || cmd == "release" || cmd == "tap") {
            s.kind = cmd == "press" ? ScriptStep::Press
                     : cmd == "release" ? ScriptStep::Release
                                        : ScriptStep::Tap;
            s.number = key(1);
            if (s.number < 0)
                return fail("unknown key '" + (w.size() > 1 ? w[1] : std::string()) + "'");
            if (w.size() == 3 && s.kind == ScriptStep::Tap) {
                if (!number(w[2], s.hold, 600000))
                    return fail("tap needs a hold time in milliseconds");
            } else if (w.size() != 2) {
                return fail(cmd + " takes one key");
            }
        } else if (cmd == "settle") {
            s.kind = ScriptStep::Settle;
            s.number = 600;
            if (w.size() > 2 || (w.size() == 2 && !number(w[1], s.number, 15000)))
                return fail("settle takes milliseconds");
        } else if (cmd == "snap") {
            s.kind = ScriptStep::Snap;
            if (w.size() != 2 || w[1].find('/') != std::string::npos || w[1][0] == '.')
                return fail("snap needs a plain file name");
            s.text = w[1];
        } else if (cmd == "kill") {
            s.kind = ScriptStep::Kill;
            s.number = 9;
            if (w.size() < 2 || w.size() > 3 || (w.size() == 3 && !number(w[2], s.number, 64)))
                return fail("kill needs a program and maybe a signal number");
            s.text = w[1];
        } else if (cmd == "quit") {
            s.kind = ScriptStep::Quit;
        } else {
            return fail("unknown command '" + cmd + "'");
        }
        steps.push_back(s);
    }
    return true;
}

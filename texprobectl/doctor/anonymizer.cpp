#include "doctor/anonymizer.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>

namespace texprobe::ctl {

namespace {

// Below are the system's own: "bin", "games" and "mail" name no person.
constexpr uid_t kFirstPerson = 1000;
constexpr uid_t kNobody = 65534;

bool is_letter_or_digit(const std::string& text, std::size_t at) {
    return at < text.size() && std::isalnum(static_cast<unsigned char>(text[at])) != 0;
}

/// The end of the domain that follows a host's name, or `at` where none does.
std::size_t end_of_domain(const std::string& text, std::size_t at) {
    while (at < text.size() && text[at] == '.' && is_letter_or_digit(text, at + 1)) {
        ++at;
        while (is_letter_or_digit(text, at) || (at < text.size() && text[at] == '-')) ++at;
    }
    return at;
}

/// Upper and lower case are the same, as in a host's name.
std::size_t find(const std::string& text, const std::string& name, std::size_t from) {
    const auto at = std::search(
        text.begin() + static_cast<std::ptrdiff_t>(from), text.end(), name.begin(), name.end(),
        [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
    return at == text.end() ? std::string::npos : static_cast<std::size_t>(at - text.begin());
}

void replace(std::string* text, const std::string& name, const std::string& replacement,
             bool hasDomain = false) {
    if (name.size() <= 1) return;
    std::size_t at = 0;
    while ((at = find(*text, name, at)) != std::string::npos) {
        const std::size_t end = at + name.size();
        const bool isWhole =
            (at == 0 || !is_letter_or_digit(*text, at - 1)) && !is_letter_or_digit(*text, end);
        if (isWhole) {
            text->replace(at, (hasDomain ? end_of_domain(*text, end) : end) - at, replacement);
        }
        at += isWhole ? replacement.size() : 1;
    }
}

/// Homes may lie there that the password database does not list.
void replace_folders_in(const std::string& folder, std::string* text) {
    std::size_t at = 0;
    while ((at = text->find(folder, at)) != std::string::npos) {
        at += folder.size();
        const std::size_t end = std::min(text->find_first_of("/: \t\n\"',;", at), text->size());
        if (end > at) text->replace(at, end - at, "USER");
    }
}

/// The longest first, because one may be a part of another.
void replace_all(std::string* text, std::vector<std::string> names, const char* replacement) {
    std::sort(names.begin(), names.end(),
              [](const std::string& a, const std::string& b) { return a.size() > b.size(); });
    for (const std::string& name : names) replace(text, name, replacement);
}

}  // namespace

Names names_of_system() {
    Names names;
    std::array<char, 256> host = {};
    if (gethostname(host.data(), host.size() - 1) == 0) names.host = host.data();
    for (const char* variable : {"USER", "LOGNAME", "SUDO_USER"}) {
        if (const char* user = std::getenv(variable)) names.users.emplace_back(user);
    }
    if (const char* home = std::getenv("HOME")) names.homes.emplace_back(home);
    const uid_t self = getuid();
    setpwent();
    // cppcheck-suppress getpwentCalled
    while (const passwd* entry = getpwent()) {
        const bool isPerson = entry->pw_uid >= kFirstPerson && entry->pw_uid != kNobody;
        if (entry->pw_uid != self && !isPerson) continue;
        names.users.emplace_back(entry->pw_name);
        (entry->pw_uid == self ? names.homes : names.homesOfOthers).emplace_back(entry->pw_dir);
    }
    endpwent();
    // Where the database does not list its entries, it still tells this one.
    // cppcheck-suppress getpwuidCalled
    if (const passwd* entry = getpwuid(self)) {
        names.users.emplace_back(entry->pw_name);
        names.homes.emplace_back(entry->pw_dir);
    }
    return names;
}

std::string without_names(std::string text, const Names& names) {
    replace_all(&text, names.homes, "~");
    replace_all(&text, names.homesOfOthers, "~USER");
    for (const char* folder : {"/home/", "/Users/"}) replace_folders_in(folder, &text);
    replace_all(&text, names.users, "USER");
    const std::string host = names.host.substr(0, names.host.find('.'));
    if (host != "localhost") replace(&text, host, "HOST", true);
    return text;
}

std::string without_host_of_display(const std::string& display) {
    const std::size_t colon = display.rfind(':');
    const std::string host = display.substr(0, colon == std::string::npos ? 0 : colon);
    const bool isHere = host.empty() || host[0] == '/' || host == "unix" || host == "localhost";
    return isHere ? display : "HOST" + display.substr(colon);
}

}  // namespace texprobe::ctl

#pragma once

/// Makes gettext() answer in the user's language, from here on and in this process only.
///
/// The language is what LANGUAGE, LC_ALL, LC_MESSAGES or LANG in the environment say. The daemon starts
/// programs with an empty environment: then the same names are looked up in /etc/default/locale, or,
/// when it names no language, in /etc/locale.conf. With none the text is English.
///
/// The language needs no locale of its own on the machine: the process runs in C.UTF-8, which every C
/// library brings along, and takes only the texts from the catalogue. So the text is always UTF-8.
/// Call it once, before the first gettext().
void ChooseLanguage();

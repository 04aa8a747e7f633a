#!/usr/bin/env python3
"""Writes what shells and manuals know of the command line, as its own help says it.

    write-words.py PROGRAM FOLDER [PLANT]

FOLDER/tarnvelde.1 is a page of the manual; tarnvelde.bash, _tarnvelde and tarnvelde.fish complete commands and options
in bash, zsh and fish. With the program for treatment plants there are the same four files of tarnvelde-plant. Same
program, same bytes; the page has the date of SOURCE_DATE_EPOCH, if there is one.
"""
from __future__ import annotations

import os
import re
import subprocess
import sys
import time
from dataclasses import dataclass, field
from pathlib import Path

# What follows an option, by the word that the help has for it.
FILES = ("FILE",)
FOLDERS = ("FOLDER",)


@dataclass
class Option:
    names: list[str]
    value: str  # FILE, HOURS ...; empty if none follows
    text: str


@dataclass
class Command:
    name: str
    text: str
    options: list[Option] = field(default_factory=list)
    form: str = ""  # what may follow its name, where the help shows it


def read_help(program: str, *words: str) -> list[str]:
    """Lines of a help, what goes on in another line joined to its own."""
    lines: list[str] = []
    text = subprocess.run([program, *words, "--help"], check=True, capture_output=True, text=True).stdout
    for line in text.splitlines():
        if line.startswith("     ") and lines and lines[-1].startswith("  "):
            lines[-1] += "  " + line.strip()
        else:
            lines.append(line)
    return lines


def read_options(lines: list[str]) -> list[Option]:
    options = []
    for line in lines:
        found = re.match(r"  (-[^ ]+)(.*)$", line)
        if not found:
            continue
        head, _, text = found[2].partition("  ")
        value = (re.match(r" ([A-Z]+(\[:[A-Z]+\])?)(?![a-z:])", head) or ["", ""])[1]  # not Needs: or Excludes:
        options.append(Option(found[1].split(","), value, text.strip() or head.strip()))
    return options


def read_commands(program: str) -> tuple[Command, list[Command]]:
    lines = read_help(program)
    own = Command("tarnvelde", lines[0], read_options(lines))
    commands = []
    for line in lines[lines.index("Subcommands:") + 1:]:
        found = re.match(r"  ([a-z]+) +(.*)$", line)
        if found:
            command = Command(found[1], found[2])
            if command.name != "ensemble":  # whose help is Python's
                command.options = read_options(read_help(program, command.name))
            commands.append(command)
    return own, commands


def read_plant(program: str) -> tuple[Command, list[Command], str]:
    """The commands of the program for treatment plants, whose help begins with their forms, and its exit status."""
    forms, words = "\n".join(read_help(program)).split("\n\n")
    text, *lines, status = words.split("\n")
    own = Command("tarnvelde-plant", text, [Option(["--help"], "", "Show the commands and end")])
    commands = []
    for line in forms.split("\n"):
        _, name, form = line.split(" ", 2)
        options = [Option([found[1]], found[2] or "", "")
                   for found in re.finditer(r"\[(--[a-z]+)(?: ([A-Z.a-z]+))?\]", form)]
        meaning = next(other for other in lines if other.startswith(f"{name} "))
        commands.append(Command(name, meaning.removeprefix(name).strip(), options, form))
    return own, commands, status.removeprefix("The exit status is ")


def write_bash(own: Command, commands: list[Command]) -> str:
    def words(command: Command) -> str:
        return " ".join(name for option in command.options for name in option.names)

    cases = "".join(f'        {command.name}) words="{words(command)}" ;;\n' for command in commands)
    names = " ".join(command.name for command in commands)
    folders = sorted({name for command in commands for option in command.options if option.value in FOLDERS
                      for name in option.names})
    function = "_" + own.name.replace("-", "_")
    of_folders = f"""    case $before in
        {"|".join(folders)})
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -d -- "$word")
            return ;;
    esac
""" if folders else ""
    return f"""# bash completion for {own.name}
{function}() {{
    local word=${{COMP_WORDS[COMP_CWORD]}} before=${{COMP_WORDS[COMP_CWORD - 1]}} words=""
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W "{names} {words(own)}" -- "$word")
        return
    fi
    case ${{COMP_WORDS[1]}} in
{cases}    esac
{of_folders}    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
    else
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
    fi
}}
complete -F {function} {own.name}
"""


def quote_zsh(text: str) -> str:
    return re.sub(r"([\[\]:\\])", r"\\\1", text).replace("'", "'\\''")


def write_zsh(own: Command, commands: list[Command]) -> str:
    def argument(option: Option, name: str) -> str:
        action = "_files -/" if option.value in FOLDERS else "_files" if option.value.startswith(FILES) else " "
        after = f":{option.value.split('[')[0]}:{action}" if option.value else ""
        text = f"[{quote_zsh(option.text)}]" if option.text else ""
        return f"'*{name}{text}{after}'"

    def arguments(command: Command, indent: str) -> str:
        return "".join(f" \\\n{indent}{argument(option, name)}" for option in command.options for name in option.names)

    names = "".join(f"        '{command.name}:{quote_zsh(command.text)}'\n" for command in commands)
    cases = "".join(f"        {command.name})\n            _arguments{arguments(command, ' ' * 16)} \\\n"
                    f"                '*:file:_files' ;;\n" for command in commands)
    return f"""#compdef {own.name}
local -a commands
if (( CURRENT == 2 )); then
    commands=(
{names}    )
    _describe command commands
    _arguments{arguments(own, " " * 8)}
else
    local command=$words[2]
    shift words
    (( CURRENT-- ))
    case $command in
{cases}    esac
fi
"""


def quote_fish(text: str) -> str:
    return "'" + text.replace("\\", "\\\\").replace("'", "\\'") + "'"


def write_fish(own: Command, commands: list[Command]) -> str:
    def line(condition: str, option: Option) -> str:
        names = " ".join(f"-l {name[2:]}" if name.startswith("--") else f"-s {name[1:]}" for name in option.names)
        value = " -r" if option.value else ""
        if option.value in FOLDERS:
            value += " -a '(__fish_complete_directories)'"
        text = f" -d {quote_fish(option.text)}" if option.text else ""
        return f"complete -c {own.name} -n {condition} {names}{value}{text}\n"

    text = f"# fish completion for {own.name}\n"
    for option in own.options:
        text += line("__fish_use_subcommand", option)
    for command in commands:
        text += f"complete -c {own.name} -f -n __fish_use_subcommand -a {command.name} -d {quote_fish(command.text)}\n"
        for option in command.options:
            text += line(f"'__fish_seen_subcommand_from {command.name}'", option)
    return text


def quote_roff(text: str) -> str:
    text = text.replace("\\", "\\e").replace("-", "\\-")
    return re.sub(r"^([.'])", r"\\&\1", text)


def begin_page(program: str, name: str, text: str) -> list[str]:
    """The head of a page. program: that knows the version."""
    version = subprocess.run([program, "--version"], check=True, capture_output=True, text=True).stdout.split()[1]
    epoch = os.environ.get("SOURCE_DATE_EPOCH")
    date = time.strftime("%Y-%m-%d", time.gmtime(int(epoch))) if epoch else ""
    return [f'.TH {quote_roff(name.upper())} 1 "{date}" "Tarnvelde {version}" "User Commands"', ".SH NAME",
            quote_roff(name) + f" \\- {text}", ".SH SYNOPSIS"]


def write_page(program: str, own: Command, commands: list[Command]) -> str:
    lines = begin_page(program, "tarnvelde", "simulation of urban drainage and water quality")
    for command in commands:
        lines += [f".B tarnvelde {command.name}", "[\\fIoption\\fR ...] ...", ".br"]
    lines += [".B tarnvelde \\-\\-version", ".br", ".B tarnvelde", "[\\fIcommand\\fR]", ".B \\-\\-help"]
    lines += [".SH DESCRIPTION", quote_roff(own.text),
              "A text file describes a project; a run leaves a text report beside it, and results for each reporting",
              "period in a binary file or in a SQLite database. The other commands show, draw and export results.",
              ".SH COMMANDS"]
    for command in commands:
        lines += [f".SS {command.name}", quote_roff(command.text) + "."]
        for option in command.options:
            value = f" \\fI{quote_roff(option.value)}\\fR" if option.value else ""
            lines += [".TP", ", ".join(f"\\fB{quote_roff(name)}\\fR" for name in option.names) + value,
                      quote_roff(option.text)]
    lines += [".SH EXIT STATUS"]
    status = next(line for line in read_help(program) if line.startswith("Exit status: "))
    lines += [quote_roff(status.removeprefix("Exit status: "))]
    lines += [".SH FILES", ".TP", "\\fIMODEL\\fR.inp", "The project.", ".TP", "\\fIMODEL\\fR.rpt, \\fIMODEL\\fR.bin",
              "Report and results of a run, beside the project where no option says otherwise.",
              ".SH SEE ALSO",
              "The manual, in the package tarnvelde\\-doc; \\fBgnuplot\\fR(1), which draws the pictures."]
    return "\n".join(lines) + "\n"


def write_plant_page(program: str, own: Command, commands: list[Command], status: str) -> str:
    lines = begin_page(program, own.name, "a wastewater treatment plant alone")
    for command in commands:
        lines += [f".B {quote_roff(own.name)} {command.name}", quote_roff(command.form), ".br"]
    lines += [f".B {quote_roff(own.name)}", ".B \\-\\-help"]
    lines += [".SH DESCRIPTION", quote_roff(own.text),
              "A text file describes the plant, the same that a plant node of a project of Tarnvelde names.",
              ".SH COMMANDS"]
    for command in commands:
        lines += [".TP", f"\\fB{command.name}\\fR {quote_roff(command.form)}", quote_roff(command.text)]
    lines += [".SH EXIT STATUS", quote_roff(status), ".SH FILES", ".TP", "\\fIMODEL\\fR.sti", "The plant.",
              ".SH SEE ALSO", "\\fBtarnvelde\\fR(1); the chapter on treatment plants of the manual, in the package "
              "tarnvelde\\-doc."]
    return "\n".join(lines) + "\n"


def write_shells(folder: Path, own: Command, commands: list[Command]) -> None:
    for name, text in ((f"{own.name}.bash", write_bash(own, commands)), (f"_{own.name}", write_zsh(own, commands)),
                       (f"{own.name}.fish", write_fish(own, commands))):
        (folder / name).write_text(text, encoding="utf-8")


def main() -> None:
    if len(sys.argv) not in (3, 4):
        sys.exit("write-words.py PROGRAM FOLDER [PLANT]")
    program, folder = sys.argv[1], Path(sys.argv[2])
    own, commands = read_commands(program)
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "tarnvelde.1").write_text(write_page(program, own, commands), encoding="utf-8")
    write_shells(folder, own, commands)
    if len(sys.argv) == 4:
        plant, commands, status = read_plant(sys.argv[3])
        (folder / "tarnvelde-plant.1").write_text(write_plant_page(program, plant, commands, status), encoding="utf-8")
        write_shells(folder, plant, commands)


if __name__ == "__main__":
    main()

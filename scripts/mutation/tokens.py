"""C++ as tokens with places, as far as small changes need it: comments, texts and directives are told from code."""

import re
from dataclasses import dataclass

_PUNCTUATION = sorted(
    ["<<=", ">>=", "...", "->*", "<=>", "::", "->", "++", "--", "<<", ">>", "<=", ">=", "==", "!=", "&&", "||", "+=",
     "-=", "*=", "/=", "%=", "&=", "|=", "^=", "##", ".*"] + list("{}[]()<>;:,.?~!+-*/%^&|=#\\@$"),
    key=len, reverse=True)

_TOKEN = re.compile(
    r"(?P<space>(?:\s|\\\n)+)"
    r"|(?P<comment>//(?:\\\n|[^\n])*|/\*.*?\*/)"
    r'|(?P<raw>(?:u8|[uUL])?R"(?P<mark>[^()\\\s]{0,16})\(.*?\)(?P=mark)")'
    r'|(?P<text>(?:u8|[uUL])?"(?:\\.|[^"\\\n])*")'
    r"|(?P<character>(?:u8|[uUL])?'(?:\\.|[^'\\\n])+')"
    r"|(?P<number>\.?\d(?:[eEpP][+-]|'(?=\w)|[\w.])*)"
    r"|(?P<name>[A-Za-z_]\w*)"
    r"|(?P<punctuation>" + "|".join(re.escape(p) for p in _PUNCTUATION) + r")"
    r"|(?P<other>.)", re.S)

_DIRECTIVE = re.compile(r"#[ \t]*(?P<word>\w*)(?:\\\n|//[^\n]*|/\*.*?\*/|[^\n])*", re.S)
_DEFINE_HEAD = re.compile(r"#[ \t]*define[ \t]+\w+(?:\([^)]*\))?")


@dataclass(frozen=True)
class Token:
    kind: str  # text, character, number, name, punctuation, other
    text: str
    start: int
    end: int


def code_tokens(source):
    """The tokens that are code. Of the directives only what macros stand for counts."""
    tokens = []
    at, fresh_line = 0, True
    while at < len(source):
        if fresh_line and source[at] == "#":
            head = _DEFINE_HEAD.match(source, at)
            at = head.end() if head else _DIRECTIVE.match(source, at).end()
            fresh_line = False
            continue
        match = _TOKEN.match(source, at)
        kind = match.lastgroup if match.lastgroup != "mark" else "raw"
        if kind == "space":
            if "\n" in match.group().replace("\\\n", ""):
                fresh_line = True
        elif kind == "comment":
            pass
        else:
            fresh_line = False
            tokens.append(Token("text" if kind == "raw" else kind, match.group(), match.start(), match.end()))
        at = match.end()
    return tokens


def partners(tokens):
    """The index of each bracket's partner; brackets without one (in a macro) have none."""
    result, open_brackets = {}, []
    closing = {")": "(", "]": "[", "}": "{"}
    for i, token in enumerate(tokens):
        if token.kind != "punctuation":
            continue
        if token.text in "([{":
            open_brackets.append(i)
        elif token.text in closing:
            while open_brackets and tokens[open_brackets[-1]].text != closing[token.text]:
                open_brackets.pop()
            if open_brackets:
                result[i] = open_brackets[-1]
                result[open_brackets.pop()] = i
    return result

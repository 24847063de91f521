"""The small changes: where a source can be changed, and to what."""

import re
from dataclasses import dataclass

from .tokens import code_tokens, partners


@dataclass(frozen=True)
class Change:
    """source[start:end] becomes `new`; `line` counts from 1; `what` tells a person."""
    line: int
    start: int
    end: int
    new: str
    what: str


# What a binary operator becomes. Formatted sources have a blank on both sides of one, and of nothing else that looks
# the same (template brackets, references, pointers).
_BINARY = {
    "==": ["!="], "!=": ["=="], "<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"],
    "&&": ["||"], "||": ["&&"], "+": ["-"], "-": ["+"], "+=": ["-="], "-=": ["+="],
    "&": ["|"], "|": ["&"], "|=": ["&="], "&=": ["|="], "/": ["*"], "%": ["/"],
}
_UNARY = {"++": "--", "--": "++"}
_WORDS = {"true": "false", "false": "true"}

# Statements that begin with one of these are declarations or have a body of their own.
_NOT_DROPPED = set(
    "alignas asm auto bool case catch char class const constexpr consteval constinit decltype default do double else "
    "enum explicit extern float for friend goto if inline int long mutable namespace operator private protected "
    "public register short signed static static_assert struct switch template thread_local try typedef typename "
    "union unsigned using virtual void volatile wchar_t while size_t u8 u16 u32 u64 uint8_t uint16_t uint32_t "
    "uint64_t int32_t int64_t".split())
_DECLARATION = re.compile(
    r"(?:::\s*)?[A-Za-z_]\w*(?:\s*::\s*[A-Za-z_]\w*|<[^;=]*?>)*(?:\s+[*&]*|\s*[*&]+\s*)(?:const\s+)?[A-Za-z_]\w*\s*[;=({\[]")
# Nothing can be seen of these: room that is asked for early, values that are thrown away.
_UNSEEN = re.compile(r"\(void\)|[\w.\->]*\.(?:reserve|shrink_to_fit)\(")
_ARRAY_SIZE = re.compile(r"\s*\](?:\s*\[[^\]]*\])*\s*(?:;|=\s*\{|,)")


def changes(source):
    """Every change there is, in the order of the source."""
    return sorted(_Finder(source).all(), key=lambda c: (c.start, c.end, c.new))


class _Finder:
    def __init__(self, source):
        self.source = source
        self.tokens = code_tokens(source)
        self.partner = partners(self.tokens)
        self.line_starts = [0] + [m.end() for m in re.finditer("\n", source)]
        self.found = []

    def all(self):
        self.skipped = self._unchangeable()
        for i, token in enumerate(self.tokens):
            if i not in self.skipped:
                self._token(i, token)
        self._conditions()
        self._statements()
        return self.found

    def _add(self, start, end, new, what):
        line = self.source.count("\n", 0, start) + 1
        self.found.append(Change(line, start, end, new, what))

    def _text(self, i):
        return self.tokens[i].text if 0 <= i < len(self.tokens) else ""

    def _unchangeable(self):
        """Tokens that only the compiler judges: static assertions, template heads, attributes."""
        skipped = set()
        for i, token in enumerate(self.tokens):
            if token.text in ("static_assert", "alignas", "__attribute__") and self._text(i + 1) == "(":
                skipped.update(range(i, self.partner.get(i + 1, i) + 1))
            elif token.text == "template" and self._text(i + 1) == "<":
                end = i + 1
                while end < len(self.tokens) and self.tokens[end].text not in (">", "{", ";"):
                    end += 1
                skipped.update(range(i, end + 1))
        return skipped

    def _token(self, i, token):
        if token.kind == "punctuation":
            spaced = self.source[token.start - 1:token.start].isspace() and self.source[token.end:token.end + 1].isspace()
            if spaced and token.text in _BINARY and self._text(i - 1) not in ("operator", "=", "(", ",") and \
                    not self._joins_texts(i):
                for new in _BINARY[token.text]:
                    self._add(token.start, token.end, new, f"`{token.text}` became `{new}`")
            elif token.text in _UNARY and self._text(i - 1) != "operator":
                new = _UNARY[token.text]
                self._add(token.start, token.end, new, f"`{token.text}` became `{new}`")
            elif token.text == "!" and self._text(i - 1) != "operator":
                self._add(token.start, token.end, "", "`!` removed")
        elif token.kind == "name" and token.text in _WORDS:
            self._add(token.start, token.end, _WORDS[token.text], f"`{token.text}` became `{_WORDS[token.text]}`")
        elif token.kind == "number":
            self._number(i, token)

    def _joins_texts(self, i):
        return self._text(i) in ("+", "+=") and any(
            0 <= j < len(self.tokens) and self.tokens[j].kind == "text" for j in (i - 1, i + 1))

    def _number(self, i, token):
        match = re.fullmatch(r"(0[xX][\da-fA-F']+|0[bB][01']+|\d[\d']*)([uUlLzZ]*)", token.text)
        if not match:
            return
        if self._text(i - 1) == "[" and _ARRAY_SIZE.match(self.source, token.end):
            return  # a size with room to spare
        digits, suffix = match.groups()
        value = int(digits.replace("'", ""), 8 if re.fullmatch(r"0[0-7']+", digits) else 0)
        for new_value in (value + 1, value - 1):
            if new_value < 0:
                new = "-1" if not suffix else None
            elif digits[:2].lower() == "0x":
                new = hex(new_value) + suffix
            else:
                new = str(new_value) + suffix
            if new is not None:
                self._add(token.start, token.end, new, f"`{token.text}` became `{new}`")

    def _conditions(self):
        for i, token in enumerate(self.tokens):
            if token.text not in ("if", "while") or token.kind != "name":
                continue
            head = i + 2 if self._text(i + 1) == "constexpr" else i + 1
            end = self.partner.get(head)
            if self._text(head) != "(" or end is None:
                continue
            begin = head + 1
            for j in range(head + 1, end):  # past an initialiser
                if self._text(j) == ";" and self._enclosing(j, head, end):
                    begin = j + 1
            start, stop = self.tokens[begin].start, self.tokens[end].start
            condition = self.source[start:stop]
            if not self._worth_negating(self.tokens[begin:end]):
                continue
            self._add(start, stop, f"!({condition})", f"`{_short(condition)}` negated")

    @staticmethod
    def _worth_negating(condition):
        """Not what declares, and not what other changes negate: a single comparison, `!`, true."""
        texts = [token.text for token in condition]
        if not texts or "=" in texts:
            return False
        if "&&" in texts or "||" in texts:
            return True
        return not {"==", "!=", "<", ">", "<=", ">=", "true", "false"} & set(texts) and texts[0] != "!"

    def _enclosing(self, j, head, end):
        """Whether token j stands directly in the brackets head ... end."""
        k = head + 1
        while k < end:
            if k == j:
                return True
            k = self.partner[k] + 1 if self._text(k) in ("(", "[", "{") and k in self.partner else k + 1
        return False

    # --- Statements

    def _statements(self):
        for i, token in enumerate(self.tokens):
            if token.text == "{" and i in self.partner and self._is_block(i):
                self._block(i + 1, self.partner[i])

    def _is_block(self, i):
        """Whether the brace opens statements, not a class, a list or a name space."""
        before = self._text(i - 1)
        if before in ("else", "do", "try", "override", "final", "noexcept", "mutable"):
            return True
        if before == ")":
            return self._text(self.partner.get(i - 1, 0) - 1) not in ("alignas", "__attribute__")
        if before == "const":
            return self._text(i - 2) == ")"
        if before == "]":
            return True  # a lambda without parameters
        if before in ("{", "}", ";", ":"):
            return self._block_encloses(i)
        return any(self._text(j) == "->" and self._text(j - 1) == ")" for j in range(max(0, i - 12), i))

    def _block_encloses(self, i):
        depth = 0
        for j in range(i - 1, -1, -1):
            if self._text(j) == "}":
                depth += 1
            elif self._text(j) == "{":
                if depth == 0:
                    return self._is_block(j)
                depth -= 1
        return False

    def _block(self, begin, end):
        start = i = begin
        while i < end:
            text = self._text(i)
            if text in ("if", "for", "while", "switch", "catch") and i == start:
                head = i + 2 if self._text(i + 1) == "constexpr" else i + 1
                i = start = self.partner.get(head, head) + 1
            elif text in ("else", "do", "try") and i == start:
                i = start = i + 1
            elif text in ("case", "default") and i == start:
                while i < end and self._text(i) != ":":
                    i += 1
                i = start = i + 1
            elif text in ("(", "[", "{") and i in self.partner:
                closed = self.partner[i]
                if text == "{" and i == start:
                    start = closed + 1  # a block: its statements are found by themselves
                i = closed + 1
            elif text == ";":
                self._statement(start, i)
                i = start = i + 1
            else:
                i += 1

    def _ends_function(self, end):
        """Whether the statement that ends at token `end` is the last of a function's body."""
        if self._text(end + 1) != "}" or end + 1 not in self.partner:
            return False
        before = self.partner[end + 1] - 1
        if self._text(before) != ")":
            return self._text(before) not in ("else", "do", "try", "{", "}", ";", ":")
        word = self._text(self.partner.get(before, 0) - 1)
        return word not in ("if", "constexpr", "for", "while", "switch", "catch")

    def _statement(self, start, end):
        if start >= end:
            return
        first = self.tokens[start]
        text = self.source[first.start:self.tokens[end].end]
        if first.text in _NOT_DROPPED or _UNSEEN.match(text):
            return
        if first.text == "return" and self._ends_function(end):
            return  # does not compile, or changes nothing
        if first.kind == "name" and first.text not in ("return", "throw", "delete", "break", "continue") and \
                _DECLARATION.match(text):
            return
        if first.kind != "name" and first.text not in ("*", "(", "++", "--", "::"):
            return
        self._add(first.start, self.tokens[end].end, "{}", f"`{_short(text)}` left out")


def _short(text):
    text = " ".join(text.split())
    return text if len(text) <= 70 else text[:67] + "..."

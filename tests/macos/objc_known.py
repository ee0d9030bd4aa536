"""What is known of the SDK, and what was found against it."""
import difflib
from collections import defaultdict

from objc_clang import Tool


class Known:
    """Looks things up in the facts, and collects findings; the checks build on it."""

    def __init__(self, a, facts, tmp):
        self.a, self.F, self.tmp, self.tool = a, facts, tmp, Tool(a)
        self.out = []
        self.n = defaultdict(int)

    def say(self, lvl, where, msg):
        if (lvl, where, msg) not in self.out:
            self.out.append((lvl, where, msg))
        self.n[lvl] += 1

    def near(self, s, pool):
        c = difflib.get_close_matches(s, [x for x in pool if x], 3, 0.75)
        return f' (near: {", ".join(c)})' if c else ''

    def chain(self, cls):
        seen = []
        while cls and cls not in seen:
            seen.append(cls)
            nxt = (self.F.cls.get(cls) or {}).get('super')
            if not nxt:
                s = (self.F.r_cls.get(cls) or {}).get('super') or []
                nxt = s[0] if s else None
            cls = nxt
        if seen and seen[-1] != 'NSObject' and seen[-1] != 'NSProxy':
            seen.append('NSObject')
        return seen

    def protos_of(self, names):
        seen, todo = [], list(names)
        while todo:
            p = todo.pop(0)
            if p in seen:
                continue
            seen.append(p)
            todo += (self.F.proto.get(p) or {}).get('implements', [])
        return seen

    def find_method(self, owner, is_proto, cm, sel):
        """-> (fact or None, rust fact or None, declaring name)"""
        k = (cm, sel)
        if is_proto:
            for p in self.protos_of([owner]):
                f = (self.F.proto.get(p) or {}).get('m', {}).get(k)
                r = (self.F.r_proto.get(p) or {}).get('m', {}).get(k)
                if f or r:
                    return f, r, p
            return None, None, None
        for c in self.chain(owner):
            f = (self.F.cls.get(c) or {}).get('m', {}).get(k)
            r = (self.F.r_cls.get(c) or {}).get('m', {}).get(k)
            if f or r:
                return f, r, c
            for p in self.protos_of((self.F.cls.get(c) or {}).get('protocols', [])):
                f = (self.F.proto.get(p) or {}).get('m', {}).get(k)
                r = (self.F.r_proto.get(p) or {}).get('m', {}).get(k)
                if f or r:
                    return f, r, c + '<' + p + '>'
        for p, t in self.F.proto.items():       # categories on NSObject
            if t.get('informal') and k in t['m']:
                return t['m'][k], None, 'NSObject(' + p + ')'
        for p, t in self.F.r_proto.items():
            if p.startswith('NSObject') and k in t['m']:
                return None, t['m'][k], p
        return None, None, None

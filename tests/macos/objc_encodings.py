"""The types of declarations, as the runtime encodes them (@encode) and as classes of objects, and when two of them are the same."""
import os, re, sys

from objc_clang import clean
from objc_stubs import Stubs


class Encodings(Stubs):
    def __init__(self, a, facts, tmp):
        super().__init__(a, facts, tmp)
        self.enc_need = {}

    def want(self, ty):
        q, dq = ty['qualType'], ty.get('desugaredQualType', ty['qualType'])
        e = self.quick(q, dq)
        if e is None:
            self.enc_need.setdefault(clean(q), None)
        return e, clean(q)

    def quick(self, q, dq):
        c, d = clean(q), clean(dq)
        if c == 'instancetype':
            return '@'
        if '(^' in c or '(^' in d:
            return '@?' if not d.endswith(')*') else None
        for x in (c, d):
            x = re.sub(r'^const ', '', x)
            b = re.sub(r'<.*>', '', x).strip()
            if x in self.typeparams or b == 'id' or b in self.typeparams:
                return '@'
            if b == 'Class':
                return '#'
            if b == 'SEL':
                return ':'
            m = re.match(r'^([\w]+) (\*+)(const)?$', b)
            if m and m.group(1) in self.iface:
                return '^' * (len(m.group(2)) - 1) + '@'
            if m and (m.group(1) in self.typeparams or m.group(1) == 'id'):
                return '^' * len(m.group(2)) + '@'
        if '[' in d and any(t in d for t in self.typeparams | {'id'}):
            return '^@'
        return None

    def resolve_enc(self):
        keys = list(self.enc_need)
        src = f'#include "{self.mm}"\n'
        for i, t in enumerate(keys):
            src += f'extern "C" const char enc_{i}[] = @encode({t});\n'
        f = os.path.join(self.tmp, 'enc.mm')
        with open(f, 'w') as fh:
            fh.write(src)
        p, err = self.tool.run(['-S', '-emit-llvm', f, '-o', f + '.ll'])
        if ' error: ' in err:
            bad = {int(m) for m in re.findall(r'enc_(\d+)\[', err)}
            print('could not encode:', [keys[b] for b in bad], file=sys.stderr)
            for b in sorted(bad):
                self.enc_need.pop(keys[b])
            if not bad:
                print(err)
                sys.exit(2)
            return self.resolve_enc()
        with open(f + '.ll') as fh:
            for m in re.finditer(r'@enc_(\d+) = .*?c"(.*?)\\00"', fh.read()):
                self.enc_need[keys[int(m.group(1))]] = m.group(2).replace('\\22', '"')

    @staticmethod
    def norm_enc(e):
        if e is None:
            return None
        e = re.sub(r'[rnNoORV](?=[\^@*:#cCsSiIlLqQfdBZTtv{\[])', '', e)
        e = e.replace('Z', 'B').replace('T', 'S').replace('t', 'c') if re.fullmatch(r'[\^]*[ZTt]', e) else e
        e = e.replace('^?', '^?').replace('^c', '*')
        e = re.sub(r'\^\{([^=}]*)=.*\}$', r'^{\1}', e)
        e = re.sub(r'\^\{([^=}]*)\}$', r'^{\1}', e)
        e = re.sub(r'"[^"]*"', '', e)
        return e

    def enc_eq(self, stub, fact):
        if fact in ('?', None) or stub is None:      # generic type parameter: PyObjC has no encoding for it
            return True
        if fact == 'Z' and stub in ('B', 'C', 'c') or fact == '^Z' and stub in ('^B', '*', '^C', '^c'):
            return True                              # BOOL / Boolean
        if stub == '*' and fact in ('*', '^c', '^C', '^t', '^z', '^Z'):
            return True                              # @encode prints char* and unsigned char* alike
        a, b = self.norm_enc(stub), self.norm_enc(fact)
        if a == b:
            return True
        if {a, b} <= {'@', '^v'} or {a, b} <= {'@', '@?'}:    # CFTypeRef / block
            return True
        if b in ('^?', '^v') and a in ('^?', '^v'):
            return True
        if a and b and a.startswith('[') and b.startswith('^'):
            return True
        if a and b and re.fullmatch(r'\^*\{\?(=.*)?\}', a) and b.startswith('^' * a.count('^', 0, a.index('{')) + '{'):
            if a.startswith('^'):
                return True
            return a.split('=', 1)[-1] == b.split('=', 1)[-1]
        return False

    def base_obj(self, q, owner=None):
        t = clean(q)
        t = re.sub(r'^const ', '', t)
        t = re.sub(r' const$', '', t)
        for _ in range(5):
            b = t.split('<')[0].strip().rstrip('*').strip()
            if b in self.F.typedefs and b not in self.F.cls and b not in self.iface:
                t = clean(self.F.typedefs[b]).replace('const ', '')
            else:
                break
        if t in self.typeparams or t in ('ObjectType', 'KeyType') or re.match(r'^(ObjectType|KeyType)\b', t):
            return 'id'
        if t.startswith('id<') or t.startswith('id <'):
            return 'id'
        b = re.sub(r'<.*>', '', t).strip()
        m = re.match(r'^(\w+) \*$', b)
        if m:
            return m.group(1)
        return b if b in ('id', 'instancetype', 'Class') else None

"""Our own declarations, read with clang: an AST as JSON, and where each declaration stands."""
import glob, json, os, re, sys

from objc_known import Known


class Stubs(Known):
    def __init__(self, a, facts, tmp):
        super().__init__(a, facts, tmp)
        self.iface = {}           # stub classes: name -> super
        self.typeparams = set()
        self.src = {}

    def ast(self):
        heads = sorted(glob.glob(self.a.stubs + '/*.framework/Headers/*.h'))
        mm = os.path.join(self.tmp, 'stubs.mm')
        with open(mm, 'w') as f:
            for h in heads:
                fw = re.search(r'/(\w+)\.framework/', h).group(1)
                f.write(f'#include <{fw}/{os.path.basename(h)}>\n')
        p, err = self.tool.run(['-fsyntax-only', '-Xclang', '-ast-dump=json', mm])
        if ' error: ' in err or not p.stdout.startswith('{'):
            print(err)
            sys.exit(2)
        self.mm = mm
        d = json.loads(p.stdout)
        self.heads = {os.path.realpath(h) for h in heads}
        self.decls = []
        cur = [None]   # file state: clang prints "file" only when it changes, in dump order

        def loc_file(o):
            """walks a loc/range object in order, updates the current file, returns (file,line,offset) of expansion"""
            res = None
            if not isinstance(o, dict):
                return None
            for sub in ('spellingLoc', 'expansionLoc'):
                if sub in o:
                    r = loc_file(o[sub])
                    if sub == 'expansionLoc':
                        res = r
            if 'file' in o:
                cur[0] = o['file']
            if 'line' in o:
                self.line = o['line']
            if 'offset' in o:
                res = (cur[0], self.line, o['offset'])
            return res
        self.line = 0

        def walk(n, owner):
            loc = loc_file(n.get('loc', {}))
            rng = n.get('range', {})
            b = loc_file(rng.get('begin', {}))
            e = loc_file(rng.get('end', {}))
            n['_loc'], n['_b'], n['_e'] = loc or b, b, e
            k = n.get('kind')
            for x in n.get('inner', []):
                walk(x, n)
        for n in d['inner']:
            walk(n, None)
            k = n.get('kind')
            if k == 'LinkageSpecDecl':
                for x in n.get('inner', []):
                    self.top(x)
            else:
                self.top(n)

    def top(self, n):
        k = n.get('kind')
        if k in ('ObjCInterfaceDecl', 'ObjCProtocolDecl', 'ObjCCategoryDecl', 'EnumDecl', 'VarDecl', 'FunctionDecl', 'TypedefDecl', 'RecordDecl', 'CXXRecordDecl', 'LinkageSpecDecl'):
            if k == 'ObjCInterfaceDecl':
                self.iface.setdefault(n['name'], None)
                if 'super' in n:
                    self.iface[n['name']] = n['super'].get('name')
                for x in n.get('inner', []):
                    if x.get('kind') == 'ObjCTypeParamDecl':
                        self.typeparams.add(x['name'])
            self.decls.append(n)

    def instub(self, n):
        l = n.get('_loc')
        return bool(l and l[0] and os.path.realpath(l[0]) in self.heads)

    def where(self, n):
        l = n['_loc']
        return f'{os.path.relpath(l[0], self.a.stubs)}:{l[1]}'

    def fw_of(self, n):
        m = re.search(r'/(\w+)\.framework/', n['_loc'][0])
        return m.group(1) if m else '?'

    def text(self, n):
        f = n['_loc'][0]
        if f not in self.src:
            with open(f, 'rb') as fh:
                self.src[f] = fh.read()
        s = self.src[f]
        b = n['_b'][2] if n['_b'] and n['_b'][0] == f else n['_loc'][2]
        e = s.find(b';', n['_loc'][2])
        return s[b:e + 1].decode('utf8', 'replace')

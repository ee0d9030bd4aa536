"""Classes, protocols and methods as we declare them, compared with the facts."""
import re

from facts import norm_obj, split_args
from objc_clang import clean
from objc_encodings import Encodings


class Methods(Encodings):
    def avail(self, owner, cm, sel, fact, n, label):
        intro = (fact or {}).get('introduced')
        attr = re.search(r'introduced\s*=\s*([\d.]+)|macos\(([\d.]+)', self.text(n))
        mine = (attr.group(1) or attr.group(2)) if attr else None
        v = lambda s: tuple(int(x) for x in (s + '.0').split('.')[:2])
        if intro and v(intro) > v(self.a.min):
            if not mine:
                self.say('ERROR', self.where(n), f'{label}: introduced in macOS {intro}, later than --min {self.a.min}; declare it with __attribute__((availability(macos,introduced={intro})))')
            elif v(mine) != v(intro):
                self.say('WARN', self.where(n), f'{label}: availability says {mine}, facts say {intro}')
        elif not intro and owner and self.F.old_appkit:
            have = sorted((x for x in self.F.old_appkit if v(x) <= v(self.a.min)), key=v)
            r = self.F.r_cls.get(owner) or self.F.proto.get(owner)
            if have and r and r['fw'] == 'AppKit' and not mine:
                s = self.F.old_appkit[have[-1]]
                own = self.chain(owner) + [owner]
                found = lambda ss: any((o, cm, sel) in ss for o in own + ['null'])   # old files: unnamed categories under 'null'
                decl = self.find_method(owner, owner in self.F.proto and owner not in self.F.cls, cm, sel)[2] or ''
                if not (self.F.r_cls.get(decl) or self.F.r_proto.get(decl) or {'fw': 'AppKit'})['fw'] in ('AppKit', None):
                    return
                if (owner,) in s and not found(s):
                    later = [x for x in sorted(self.F.old_appkit, key=v) if found(self.F.old_appkit[x])]
                    self.say('WARN', self.where(n), f'{label}: not in the macOS {have[-1]} SDK ({"first seen in SDK " + later[0] if later else "newer than SDK " + max(self.F.old_appkit, key=v)}); needs @available or respondsToSelector:')
        dep = (fact or {}).get('deprecated')
        if dep and v(dep) <= v(self.a.min):
            self.say('INFO', self.where(n), f'{label}: deprecated since macOS {dep}')

    def check_container(self, n):
        k = n['kind']
        if k == 'ObjCInterfaceDecl':
            name = n['name']
            self.n['classes'] += 1
            if name not in self.F.cls and name not in self.F.r_cls:
                self.say('ERROR', self.where(n), f'class {name} is not in the facts' + self.near(name, list(self.F.cls) + list(self.F.r_cls)))
                return
            fw = (self.F.r_cls.get(name) or {}).get('fw') or next((f for f in sorted(self.F.cls[name]['fw'])), None)
            if fw and fw != self.fw_of(n):
                self.say('WARN', self.where(n), f'class {name} is declared by {fw}, the stub puts it in {self.fw_of(n)}')
            sup = n.get('super', {}).get('name')
            ch = self.chain(name)[1:]
            if sup and sup not in ch:
                self.say('ERROR', self.where(n), f'class {name}: superclass {sup}; the facts say {" : ".join(ch)}')
            elif sup and ch and ch[0] != sup:
                self.say('INFO', self.where(n), f'class {name}: direct superclass is {ch[0]}, the stub skips to {sup}')
            have = self.protos_of([p for c in self.chain(name) for p in (self.F.cls.get(c) or {}).get('protocols', [])])
            for p in n.get('protocols', []):
                if p['name'] not in have and p['name'] != 'NSObject':
                    self.say('WARN', self.where(n), f'class {name} is not known to adopt <{p["name"]}>')
        elif k == 'ObjCProtocolDecl':
            self.n['protocols'] += 1
            if n['name'] not in self.F.proto and n['name'] not in self.F.r_proto:
                self.say('ERROR', self.where(n), f'protocol {n["name"]} is not in the facts' + self.near(n['name'], list(self.F.proto)))

    def check_method(self, owner, n, enc):
        is_proto = owner['kind'] == 'ObjCProtocolDecl'
        oname = owner['interface']['name'] if owner['kind'] == 'ObjCCategoryDecl' else owner['name']
        if is_proto and oname not in self.F.proto and oname not in self.F.r_proto:
            return
        if not is_proto and oname not in self.F.cls and oname not in self.F.r_cls:
            return
        cm, sel = not n.get('instance', False), n['name']
        label = f'{"+" if cm else "-"}[{oname} {sel}]'
        self.n['methods'] += 1
        f, r, decl = self.find_method(oname, is_proto, cm, sel)
        if not f and not r:
            other = sorted({('+' if c else '-') + '[' + o + ']' for o, c in self.F.by_sel.get(sel, ())})[:4]
            pool = []
            if is_proto:
                pool = [k[1] for k in (self.F.proto.get(oname) or {'m': {}})['m']]
            else:
                for c in self.chain(oname)[:3]:
                    pool += [k[1] for k in (self.F.cls.get(c) or {'m': {}})['m']] + [k[1] for k in (self.F.r_cls.get(c) or {'m': {}})['m']]
            if (not cm, sel) in ((self.F.cls.get(oname) or self.F.proto.get(oname) or {'m': {}})['m']):
                other = [('-' if cm else '+') + '[' + oname + '] - wrong kind (class/instance)'] + other
            self.say('ERROR', self.where(n), f'{label} does not exist in the facts' + (f' (that selector exists on {", ".join(other)})' if other else '') + self.near(sel, pool))
            return
        if not is_proto and decl != oname and not n.get('isImplicit'):
            self.say('INFO', self.where(n), f'{label} is declared by {decl}')
        parms = [p for p in n.get('inner', []) if p.get('kind') == 'ParmVarDecl']
        if f:
            fe = [f['retval'].get('typestr')] + [x.get('typestr') for x in f.get('args', [])]
            fn = [f['retval'].get('type_name')] + [x.get('type_name') for x in f.get('args', [])]
            qs = [n['returnType']] + [p['type'] for p in parms]
            if len(fe) != len(enc):
                self.say('ERROR', self.where(n), f'{label}: {len(enc) - 1} arguments, facts {len(fe) - 1}')
            else:
                for i, (a, b) in enumerate(zip(enc, fe)):
                    what = 'returns' if i == 0 else f'argument {i}'
                    if b is not None and a is not None and not self.enc_eq(a, b):
                        self.say('ERROR', self.where(n), f'{label}: {what} {qs[i]["qualType"]!r} (encoding {a}), the facts say {fn[i] or "?"!r} (encoding {b})')
                    elif a is None:
                        self.say('INFO', self.where(n), f'{label}: {what} not encoded, type not compared')
                    elif fn[i] and b == '@':
                        x, y = self.base_obj(qs[i]['qualType']), self.base_obj(fn[i])
                        self.cmp_obj(n, label, what, x, y, oname)
                    elif fn[i] and '(^' in fn[i]:
                        x = clean(qs[i].get('desugaredQualType', qs[i]['qualType']))
                        y = clean(fn[i])
                        x, y = (re.sub(r'\(void\)$', '()', re.sub(r'\s|__attribute__\(\(.*?\)\)', '', z)) for z in (x, y))
                        if x != y and self.block_nargs(x) != self.block_nargs(y):
                            self.say('ERROR', self.where(n), f'{label}: {what} block {x}, the facts say {y}')
                        elif x != y:
                            self.say('INFO', self.where(n), f'{label}: {what} block {x}, the facts say {y}')
                    elif i and fn[i]:
                        x, y = clean(qs[i]['qualType']), clean(fn[i])
                        if re.sub(r'\bconst\b| ', '', x) != re.sub(r'\bconst\b| ', '', y):
                            self.say('NOTE', self.where(n), f'{label}: {what} is spelled {x!r}, the SDK spells {y!r} (same encoding)')
                        elif ('const' in x) != ('const' in y):
                            self.say('WARN', self.where(n), f'{label}: {what} {x!r}, the SDK has {y!r} (const differs)')
            if bool(f.get('variadic')) != bool(n.get('variadic')):
                self.say('ERROR', self.where(n), f'{label}: variadic differs')
            if is_proto and 'required' in f:
                req = f['required']
                mine = n.get('accessControl') or None
                opt = self.is_optional(owner, n)
                if opt == req and opt is not None:
                    self.say('WARN', self.where(n), f'{label}: is {"required" if req else "@optional"} in the SDK')
        if r:
            ret, args, _ = r
            qs = [n['returnType']] + [p['type'] for p in parms]
            rs = [ret] + args
            if len(rs) == len(qs):
                for i, (q, t) in enumerate(zip(qs, rs)):
                    y = norm_obj(t)
                    if y == '^block':
                        if '(^' not in q['qualType'] and '(^' not in q.get('desugaredQualType', ''):
                            self.say('ERROR', self.where(n), f'{label}: {"returns" if i == 0 else "argument %d" % i}: a block in the SDK')
                        continue
                    if y and not f or (y and f and not (([f['retval']] + f['args'])[i].get('type_name') if len(f['args']) + 1 > i else None)):
                        x = self.base_obj(q['qualType'])
                        y = 'id' if y.startswith('id<') else y
                        if y in self.F.typedefs:
                            y = self.base_obj(y + ' *') or y
                        self.cmp_obj(n, label, 'returns' if i == 0 else f'argument {i}', x, y, oname)
                    nonnull_stub = '_Nonnull' in q['qualType'] and '**' not in q['qualType'].replace(' ', '')
                    if y and i and nonnull_stub and t.startswith('Option<') and self.a.verbose:
                        self.say('NOTE', self.where(n), f'{label}: argument {i} is nullable in the SDK')
                    if y and i == 0 and nonnull_stub and t.startswith('Option<'):
                        self.say('NOTE', self.where(n), f'{label}: return value is nullable in the SDK, the stub says nonnull')
        self.avail(oname, cm, sel, f, n, label)

    @staticmethod
    def block_nargs(x):
        m = re.search(r'\(\^\)\((.*)\)$', x)
        if not m:
            return None
        s = m.group(1)
        return 0 if s in ('', 'void') else len(split_args(s))

    def is_optional(self, owner, n):
        s = self.src.setdefault(n['_loc'][0], open(n['_loc'][0], 'rb').read())
        b = owner['_b'][2] if owner['_b'] else 0
        seg = s[b:n['_loc'][2]].decode('utf8', 'replace')
        ks = re.findall(r'@(optional|required)\b', seg)
        return bool(ks) and ks[-1] == 'optional'

    def cmp_obj(self, n, label, what, x, y, oname):
        if x is None or y is None or x == y:
            return
        if y == 'instancetype' or x == 'instancetype':
            k = y if x == 'instancetype' else x
            if k in ('id', oname) or k in self.chain(oname):
                return
        if x == 'id' or y == 'id':
            self.say('NOTE', self.where(n), f'{label}: {what} {x}, the SDK says {y}')
            return
        if y in self.chain(x):
            self.say('WARN', self.where(n), f'{label}: {what} {x}, the SDK says only {y}')
            return
        self.say('ERROR', self.where(n), f'{label}: {what} {x}, the SDK says {y}')

"""Everything that our headers and .tbd files declare, compared with the facts."""
import glob, os, re, struct, sys

from facts import FRAMEWORKS
from objc_clang import clean
from objc_methods import Methods


class Declarations(Methods):
    def check_stubs(self):
        self.ast()
        todo = []
        for n in self.decls:
            if not self.instub(n):
                continue
            k = n['kind']
            if k in ('ObjCInterfaceDecl', 'ObjCCategoryDecl', 'ObjCProtocolDecl'):
                if k == 'ObjCInterfaceDecl' and not n.get('inner') and 'super' not in n and n['name'] not in ('NSObject',):
                    if n['name'] not in self.F.cls and n['name'] not in self.F.r_cls:
                        self.say('ERROR', self.where(n), f'class {n["name"]} (forward) is not in the facts')
                    continue
                if k == 'ObjCProtocolDecl' and not n.get('inner'):
                    continue
                for x in n.get('inner', []):
                    if x.get('kind') == 'ObjCMethodDecl':
                        todo.append((n, x, [self.want(x['returnType'])] + [self.want(p['type']) for p in x.get('inner', []) if p.get('kind') == 'ParmVarDecl']))
                self.check_container(n)
            elif k == 'FunctionDecl':
                rt = {'qualType': n['type']['qualType'].split('(')[0].strip()}
                todo.append((n, n, [self.want(rt)] + [self.want(p['type']) for p in n.get('inner', []) if p.get('kind') == 'ParmVarDecl']))
            elif k == 'VarDecl' and 'init' not in n:
                todo.append((n, n, [self.want(n['type'])]))
            elif k in ('RecordDecl', 'CXXRecordDecl') and n.get('completeDefinition') and n.get('name'):
                fields = [x for x in n.get('inner', []) if x.get('kind') == 'FieldDecl']
                todo.append((n, n, [self.want({'qualType': 'struct ' + n['name']})]))
            elif k == 'TypedefDecl':
                todo.append((n, n, [self.want({'qualType': n['name'], 'desugaredQualType': n['type'].get('desugaredQualType', n['type']['qualType'])})]))
        self.resolve_enc()
        for owner, n, types in todo:
            enc = [e if e is not None else self.enc_need.get(q) for e, q in types]
            if n['kind'] == 'ObjCMethodDecl':
                self.check_method(owner, n, enc)
            elif n['kind'] == 'FunctionDecl':
                self.check_function(n, enc)
            elif n['kind'] == 'VarDecl':
                self.check_extern(n, enc[0])
            elif n['kind'] == 'TypedefDecl':
                self.check_typedef(n, enc[0])
            else:
                self.check_struct(n, enc[0])
        self.check_constants()

    def check_function(self, n, enc):
        name = n['name']
        if n.get('storageClass') == 'static' or n.get('inline'):
            self.n['inline functions'] += 1
            if name not in self.F.func and name not in self.F.r_func:
                self.say('INFO', self.where(n), f'inline function {name} not in the facts (fine when it is our own or inline in the SDK)')
            return
        self.n['functions'] += 1
        f = self.F.func.get(name)
        if not f:
            if name in self.F.r_func:
                self.say('INFO', self.where(n), f'{name}(): only existence checked (objc2 {self.F.r_func[name]})')
            else:
                self.say('ERROR', self.where(n), f'{name}() is not in the facts' + self.near(name, list(self.F.func)))
            return
        if f['fw'] != self.fw_of(n):
            self.say('WARN', self.where(n), f'{name}() belongs to {f["fw"]}')
        fa = [x for x in f.get('args', []) if x.get('typestr') != 'v']
        fe = [f['retval'].get('typestr')] + [x.get('typestr') for x in fa]
        fn = [f['retval'].get('type_name')] + [x.get('type_name') for x in fa]
        if len(fe) != len(enc):
            self.say('ERROR', self.where(n), f'{name}(): {len(enc) - 1} arguments, facts {len(fe) - 1}')
        else:
            ps = [p for p in n.get('inner', []) if p.get('kind') == 'ParmVarDecl']
            for i, (a, b) in enumerate(zip(enc, fe)):
                if a is not None and b is not None and not self.enc_eq(a, b):
                    self.say('ERROR', self.where(n), f'{name}(): {"return" if i == 0 else "argument %d" % i} encoding {a}, the facts say {b} ({fn[i]})')
                elif i and fn[i]:
                    x, y = clean(ps[i - 1]['type']['qualType']), clean(fn[i])
                    if re.sub(r'\bconst\b| ', '', x) == re.sub(r'\bconst\b| ', '', y) and ('const' in x) != ('const' in y):
                        self.say('WARN', self.where(n), f'{name}(): argument {i} {x!r}, the SDK has {y!r} (const differs)')
                    elif re.sub(r' ', '', x) != re.sub(r' ', '', y):
                        self.say('NOTE', self.where(n), f'{name}(): argument {i} is spelled {x!r}, the SDK spells {y!r}')
        if bool(f.get('variadic')) != bool(n.get('variadic')):
            self.say('ERROR', self.where(n), f'{name}(): variadic differs')
        if n.get('mangledName', '_' + name) not in ('_' + name, name):
            self.say('ERROR', self.where(n), f'{name}(): C++ mangled ({n.get("mangledName")}), needs extern "C"')
        self.avail(None, False, name, f, n, name + '()')

    def check_extern(self, n, enc):
        self.n['extern variables'] += 1
        f = self.F.ext.get(n['name'])
        if not f:
            if n['name'] in self.F.r_const:
                return
            self.say('ERROR', self.where(n), f'extern {n["name"]} is not in the facts' + self.near(n['name'], list(self.F.ext)))
            return
        if f['fw'] != self.fw_of(n):
            self.say('WARN', self.where(n), f'{n["name"]} belongs to {f["fw"]}')
        if enc is not None and not self.enc_eq(enc, f.get('typestr')):
            self.say('ERROR', self.where(n), f'extern {n["name"]}: encoding {enc}, the facts say {f.get("typestr")}')
        self.avail(None, False, n['name'], f, n, n['name'])

    RUST = {'u8': 'C', 'i8': 'c', 'u16': 'S', 'i16': 's', 'u32': 'I', 'i32': 'i', 'u64': 'Q', 'i64': 'q', 'f32': 'f', 'f64': 'd', 'c_uint': 'I', 'c_int': 'i', 'c_long': 'q', 'c_ulong': 'Q', 'usize': 'Q', 'isize': 'q',
            'NSUInteger': 'Q', 'NSInteger': 'q', 'CGFloat': 'd', 'bool': 'B', 'c_char': 'c', 'c_uchar': 'C', 'c_short': 's', 'c_ushort': 'S', 'Boolean': 'C', 'UInt32': 'I', 'Float64': 'd', 'UInt64': 'Q', 'SInt16': 's'}

    def rust_enc(self, t, depth=0):
        t = t.strip()
        m = re.match(r'^\[(.*); (\d+)\]$', t)
        if m:
            return f'[{m.group(2)}{self.rust_enc(m.group(1), depth)}]'
        if t in self.RUST:
            return self.RUST[t]
        m = re.match(r'^(?:\*(?:mut|const) |NonNull<)(.*?)>?$', t)
        if m:
            return '^v' if 'c_void' in t else '^' + self.rust_enc(m.group(1), depth + 1)
        if t in self.F.r_struct:
            return '{' + t + '=' + ''.join(self.rust_enc(x[1], depth + 1) for x in self.F.r_struct[t]) + '}'
        if t in self.F.r_alias and depth < 12:
            return self.rust_enc(self.F.r_alias[t], depth + 1)
        return '?' + t

    def check_struct(self, n, enc):
        self.n['structs'] += 1
        names = [x.get('name') for x in n.get('inner', []) if x.get('kind') == 'FieldDecl']
        f = self.F.structs.get(n['name']) or self.F.structs.get(n['name'].lstrip('_'))
        if f and 'fieldnames' in f:
            fields, fe, src = f['fieldnames'], f['typestr'], 'PyObjC'
        elif n['name'] in self.F.r_struct or n['name'].lstrip('_') in self.F.r_struct:
            nm = n['name'] if n['name'] in self.F.r_struct else n['name'].lstrip('_')
            fields, fe, src = [x[0].removeprefix('r#') for x in self.F.r_struct[nm]], self.rust_enc(nm), 'objc2'
        else:
            self.say('INFO', self.where(n), f'struct {n["name"]} not in the facts, encoding {enc} not compared')
            return
        if names != fields:
            self.say('ERROR', self.where(n), f'struct {n["name"]}: fields {names}, the facts say {fields} ({src})')
        z = lambda e: re.sub(r'\{_?', '{', re.sub(r'[rZ]', lambda m: '' if m.group(0) == 'r' else 'B', e or ''))
        if z(enc) != z(fe):
            self.say('ERROR' if '?' not in fe else 'INFO', self.where(n), f'struct {n["name"]}: encoding {enc}, the facts say {fe} ({src})')

    BUILTIN = {'int': 'i', 'unsigned int': 'I', 'long': 'q', 'unsigned long': 'Q', 'short': 's', 'unsigned short': 'S', 'char': 'c', 'signed char': 'c', 'unsigned char': 'C', 'double': 'd', 'float': 'f',
               'long long': 'q', 'unsigned long long': 'Q', 'uint8_t': 'C', 'uint16_t': 'S', 'uint32_t': 'I', 'uint64_t': 'Q', 'int32_t': 'i', 'int16_t': 's', 'int64_t': 'q', 'int8_t': 'c', 'UInt8': 'C', 'UInt16': 'S', 'UInt32': 'I', 'UInt64': 'Q',
               'SInt32': 'i', 'SInt16': 's', 'Boolean': 'C', 'OSStatus': 'i', 'NSInteger': 'q', 'NSUInteger': 'Q', 'CGFloat': 'd', 'IOReturn': 'i', 'kern_return_t': 'i', 'size_t': 'Q', 'BOOL': 'B', 'unichar': 'S'}

    def check_typedef(self, n, enc):
        name = n['name']
        t = self.F.typedefs.get(name)
        self.n['typedefs'] += 1
        if t is None:
            if name not in self.F.structs and name not in self.F.cls:
                self.n['typedefs without facts'] += 1
                self.say('NOTE', self.where(n), f'typedef {name}: no fact')
            return
        s, hops = t, 0
        while hops < 8:
            s = re.sub(r'\bconst ', '', s).strip()
            if s in self.BUILTIN:
                if enc and self.norm_enc(enc) != self.BUILTIN[s]:
                    self.say('ERROR', self.where(n), f'typedef {name}: encoding {enc}, the SDK says {t} ({self.BUILTIN[s]})')
                return
            if s in self.F.typedefs and self.F.typedefs[s] != s:
                s = self.F.typedefs[s]
                hops += 1
                continue
            break
        ob = re.match(r'^(\w+) \*$', clean(s))
        if ob and (ob.group(1) in self.F.cls) and enc != '@':
            self.say('ERROR', self.where(n), f'typedef {name}: encoding {enc}, the SDK says {t}')

    def check_constants(self):
        names = []
        for n in self.decls:
            if not self.instub(n):
                continue
            if n['kind'] == 'EnumDecl':
                ft = n.get('fixedUnderlyingType', {}).get('desugaredQualType') or n.get('fixedUnderlyingType', {}).get('qualType')
                names += [(x['name'], x, 'i') for x in n.get('inner', []) if x.get('kind') == 'EnumConstantDecl']
            elif n['kind'] == 'VarDecl' and 'init' in n:
                t = n['type'].get('desugaredQualType', n['type']['qualType'])
                names.append((n['name'], n, 'd' if 'double' in t or 'float' in t else 'i'))
        # macros of the stub headers that the facts know
        p, err = self.tool.run(['-E', '-dD', self.mm])
        cur = None
        for l in p.stdout.split('\n'):
            m = re.match(r'# (\d+) "(.*?)"', l)
            if m:
                cur = os.path.realpath(m.group(2))
                ln = int(m.group(1)) - 1
                continue
            ln = ln + 1 if cur else 0
            m = re.match(r'#define (\w+) (.+)$', l)
            if m and cur in self.heads:
                if m.group(1) in self.F.enum or m.group(1) in self.F.r_const:
                    names.append((m.group(1), {'_loc': (cur, ln, 0)}, 'i'))
                elif m.group(1)[0] == 'k' or m.group(1).startswith('NS'):
                    if m.group(1) not in self.F.literals and not re.match(r'NS_|CF_', m.group(1)):
                        self.say('INFO', self.where({'_loc': (cur, ln, 0)}), f'macro {m.group(1)} not in the facts')
        src = f'#include "{self.mm}"\n'
        for i, (nm, n, k) in enumerate(names):
            src += f'extern "C" const {"double" if k == "d" else "long long"} chk_{i} = ({"double" if k == "d" else "long long"})({nm});\n'
        f = os.path.join(self.tmp, 'val.mm')
        with open(f, 'w') as fh:
            fh.write(src)
        p, err = self.tool.run(['-S', '-emit-llvm', f, '-o', f + '.ll'])
        if ' error: ' in err:
            print(err)
            sys.exit(2)
        vals = {}
        with open(f + '.ll') as fh:
            for m in re.finditer(r'@chk_(\d+) = .*?constant (i64|double) (\S+),', fh.read()):
                x = m.group(3)
                if m.group(2) == 'double':
                    vals[int(m.group(1))] = struct.unpack('>d', bytes.fromhex(x[2:].zfill(16)))[0] if x.startswith('0x') else float(x)
                else:
                    vals[int(m.group(1))] = int(x)
        for i, (nm, n, k) in enumerate(names):
            self.n['constants'] += 1
            fact = self.F.enum.get(nm)
            v = fact[0] if fact else None
            hops = 0
            while isinstance(v, tuple) and hops < 4:
                v = (self.F.enum.get(v[1]) or (None,))[0]
                hops += 1
            src = 'PyObjC'
            if not isinstance(v, (int, float)):
                v = (self.F.r_const.get(nm) or (None,))[0]
                src = 'objc2'
            if v is None:
                if nm in self.F.r_const or nm in self.F.enum or nm in self.F.ext:
                    self.say('INFO', self.where(n), f'constant {nm} = {vals.get(i)} exists, its value is not in the facts')
                else:
                    self.say('ERROR' if self.fw_of(n) in FRAMEWORKS else 'INFO', self.where(n), f'constant {nm} is not in the facts' + self.near(nm, list(self.F.enum) + list(self.F.r_const)))
                continue
            mine = vals.get(i)
            same = mine is not None and (mine == v or (isinstance(v, int) and isinstance(mine, int) and (mine & 0xffffffff) == (v & 0xffffffff) and (abs(mine) < 1 << 32) and abs(v) < 1 << 32))
            if not same:
                self.say('ERROR', self.where(n), f'constant {nm} = {mine}, the facts say {v} ({src})')
            else:
                self.n['constants with equal value'] += 1

    def check_tbd(self):
        prim = lambda c: (self.F.r_cls.get(c) or {}).get('fw')
        for p in sorted(glob.glob(self.a.stubs + '/*.framework/*.tbd')):
            fw = re.search(r'/(\w+)\.framework/', p).group(1)
            if fw not in FRAMEWORKS:
                continue
            with open(p) as f:
                t = f.read()
            rel = os.path.relpath(p, self.a.stubs)
            inst = re.search(r"install-name:\s*'?([^'\s]+)", t)
            ver = {'Foundation': 'C', 'AppKit': 'C'}.get(fw, 'A')
            good = f'/System/Library/Frameworks/{fw}.framework/Versions/{ver}/{fw}'
            if not inst or inst.group(1) != good:
                self.say('ERROR', rel, f'install-name {inst and inst.group(1)}, expected {good}')
            for m in re.finditer(r'(symbols|objc-classes):\s*\[([^\]]*)\]', t):
                for s in re.split(r'[,\s]+', m.group(2).strip()):
                    s = s.strip("'\"")
                    if not s:
                        continue
                    self.n['tbd symbols'] += 1
                    if m.group(1) == 'objc-classes' or s.startswith('_OBJC_CLASS_$_'):
                        c = s.replace('_OBJC_CLASS_$_', '')
                        if c not in self.F.cls and c not in self.F.r_cls:
                            self.say('ERROR' if c not in ('NSConstantString',) else 'INFO', rel, f'class {c} is not in the facts')
                        elif prim(c) and prim(c) != fw and not (prim(c) == 'CoreFoundation'):
                            self.say('ERROR', rel, f'class {c} is declared by {prim(c)}, not {fw}: with two-level namespace dyld would look in the wrong library')
                    elif s.startswith('_') and s[1:] in self.F.func:
                        if self.F.func[s[1:]]['fw'] != fw:
                            self.say('ERROR', rel, f'{s} belongs to {self.F.func[s[1:]]["fw"]}')
                    elif s.startswith('_') and s[1:] in self.F.ext:
                        if self.F.ext[s[1:]]['fw'] != fw:
                            self.say('ERROR', rel, f'{s} belongs to {self.F.ext[s[1:]]["fw"]}')
                    elif s not in ('___CFConstantStringClassReference',) and not s.startswith('_OBJC_METACLASS'):
                        self.say('WARN', rel, f'{s} is not in the facts' + self.near(s[1:], list(self.F.func) + list(self.F.ext)))

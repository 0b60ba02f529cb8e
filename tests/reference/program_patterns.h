// The patterns that generated programs are written from.
// One idea: an expression of the dialect with places to fill in, a table for each kind of value;
// the first rows of a table are its simplest.
// Tests: tests/reference/program_generator_test.cpp.
//
// Places:
//   %n %l %s %t %a  an expression that gives a number, list, text, truth, anything
//   %f              an expression that gives a function
//   %=n %=l %=s %=a an assignment, of which these are the values
//   %c              a call of a function that the program may have defined
//   %v              the name of a variable
//   %b              the name of a built-in function
//   %q              a quoted value
//   %r              a name that this program rebinds
//   %R              a short (REPEAT ...)
//   %D              a definition of a function that asks (MORE)
//   %S              a statement
//   %0 %9           a number from 0 to 4, from 0 to 12
//   %i              a counter's name, that of the whole pattern
#pragma once

namespace vlisp::reference::patterns {

using Pattern = const char*;

inline constexpr Pattern numberAtoms[] = {
    "1",     "n",   "i",   "k",          "0",           "2",     "3",
    "-1",    "7",   "10",  "2.5",        "n",           "i",     "k",
    "-0.5",  "0.0", "100", "2147483647", "-2147483648", "65536", "3000000000.0",
    "0.001", "pi",
};

inline constexpr Pattern listAtoms[] = {
    "'()",
    "l",
    "m",
    "'(1 2 3)",
    "l",
    "m",
    "'(3 1 2)",
    "'(a b c)",
    "'((1 . 2) (3 . 4))",
    "'(1)",
    "'(a . b)",
    "'(1 2.5 \"x\" a (b))",
    "'((1 2) (3 (4)))",
    "'(nil t)",
    "'(\"nil\" 0)",
    "'(0 0 0)",
    "'(lambda (x) (car x))",
    "'(1 2 3 4 5 6 7 8)",
};

inline constexpr Pattern textAtoms[] = {
    "\"a\"",   "s",      "r",     "\"abc\"", "s",       "r",       "\"\"",
    "\"nil\"", "\"12\"", "\"T\"", "\"-7x\"", "\"A B\"", "\"*b*\"",
};

inline constexpr Pattern truthAtoms[] = {
    "t", "()", "(not t)", "x", "y", "1", "'nil", "\"nil\"", "'()", "l",
};

inline constexpr Pattern functionAtoms[] = {
    "car", "f", "g", "h", "cdr", "+", "list", "length", "f", "g", "h", "equal", "strcat",
};

inline constexpr Pattern anyAtoms[] = {
    "1", "x", "y", "a", "b", "n", "l", "s", "x", "y", "'a", "2.5", "\"abc\"", "()", "f",
};

inline constexpr Pattern numbers[] = {
    "(+ %n %n)",
    "(- %n %n)",
    "(* %n %n)",
    "(+ %n 1)",
    "(- %n 1)",
    "(+ %n %n %n)",
    "(/ %n %n)",
    "(/ %n 2)",
    "(- %n)",
    "(+ 1 2)",
    "(length %l)",
    "(strlen %s)",
    "(car %l)",
    "(nth %0 %l)",
    "(nth %n %l)",
    "(last %l)",
    "(cadr %l)",
    "(if %t %n %n)",
    "(if (< %n %n) %n %n)",
    "(cond (%t %n) (t %n))",
    "(cond ((= %n %n) %n) ((< %n %n) %n) (t %n))",
    "(cond (%t) (%n))",
    "(begin %a %n)",
    "(begin %=a %n)",
    "%=n",
    "%=n",
    "((lambda (n) %n) %n)",
    "((lambda (n i) %n) %n %n)",
    "((lambda (k) (+ k %n)) %n)",
    "(atoi %s)",
    "(logand %n %n)",
    "(logior %n 6)",
    "(~ %n)",
    "(sqrt %n)",
    "(sin %n)",
    "(atan %n %n)",
    "(+)",
    "(*)",
    "(- 2147483647 -1)",
    "(* 65536 65536)",
    "(+ 2147483647 %n)",
    "(/ %n 0)",
    "(sqrt -1)",
    "(- (sqrt -1) %n)",
    "%c",
    "%c",
    "%R",
    "(%b %n %n)",
    "(%b %n)",
    "(+ %n %a)",
    "(* %a %n)",
    "(getint %s)",
    "(distance %l %l)",
};

inline constexpr Pattern lists[] = {
    "(list %a %a)",
    "(cdr %l)",
    "(cons %a %l)",
    "(append %l %l)",
    "(list %n %n %n)",
    "(reverse %l)",
    "(cons %n %l)",
    "(append %l (list %a))",
    "(list)",
    "(list %a)",
    "(if %t %l %l)",
    "(cdr (cdr %l))",
    "(car %l)",
    "(member %n %l)",
    "(member %a %l)",
    "(vl-remove %a %l)",
    "(vl-remove 2 %l)",
    "(vl-remove-nth %0 %l)",
    "(vl-remove-if '(lambda (x) %t) %l)",
    "(vl-remove-if (lambda (x) %t) %l)",
    "(vl-remove-if '(lambda (x) (< x %n)) %l)",
    "(vl-remove-if %f %l)",
    "(vl-remove-if 'f %l)",
    "(subst %a %a %l)",
    "(subst %n 2 %l)",
    "(assoc %n %l)",
    "(assoc 3 '((1 . 2) (3 . 4)))",
    "%=l",
    "%=l",
    "(begin %=a %l)",
    "((lambda (l) %l) %l)",
    "((lambda (x l) (cons x l)) %a %l)",
    "(cons %a %a)",
    "(cond (%t %l) (t %l))",
    "%c",
    "%c",
    "%R",
    "(list 'lambda '(x) %l)",
    "(list 'lambda '(x) '(+ x x))",
    "(list 'lambda '(x) (list car 'x))",
    "(list 'lambda '(x) (list %f 'x))",
    "(vl-remove-if (list 'lambda '(x) (list '< 'x %n)) %l)",
    "(vl-remove-if (list 'lambda '(x) (cons %f '(x))) %l)",
    "(vl-remove-if (append '(lambda (x)) (list (list 'if '(more) (list %f 'x 'x)))) %l)",
    "(%b %l %a)",
    "(%b %a %l)",
    "(append %f '(1))",
    "(cdr %f)",
    "(list %f %f)",
    "(polar %l %n %n)",
    "(getpoint %s)",
    "(last %l)",
    "(cons %f %l)",
};

inline constexpr Pattern texts[] = {
    "(strcat %s %s)",
    "(strcat %s \"b\")",
    "(itoa %n)",
    "(substr %s %0)",
    "(substr %s 1 %0)",
    "(strcase %s)",
    "(strcase %s t)",
    "(strcat %s (itoa %n))",
    "(strcat \"n=\" %n)",
    "(if %t %s %s)",
    "(strcat)",
    "(strcat %a %a %a)",
    "%=s",
    "(begin %=a %s)",
    "((lambda (s) %s) %s)",
    "(getstring)",
    "(princ %s)",
    "(prin1 %l)",
    "(car '(\"u\" \"v\"))",
    "(%b %s %a)",
    "(%b %s)",
    "%c",
    "(cond (%t %s) (t %s))",
    "(substr %s %n %n)",
};

inline constexpr Pattern truths[] = {
    "(< %n %n)",
    "(= %n %n)",
    "(> %n %n)",
    "(<= %n %n)",
    "(equal %a %a)",
    "(eq %a %a)",
    "(/= %n %n)",
    "(not %t)",
    "(nullp %l)",
    "(listp %a)",
    "(and %t %t)",
    "(or %t %t)",
    "(< %n %n %n)",
    "(/= %l %l)",
    "(equal %l %l)",
    "(and %t %=a %t)",
    "(or %t %=a)",
    "(wcmatch %s \"*b*,#*\")",
    "(if %t %t %t)",
    "(cond (%t))",
    "(cond (%t %t) (%t %t))",
    "(not (not %t))",
    "(begin %t)",
    "%=a",
    "%c",
    "(and)",
    "(or)",
    "(= %a %a)",
    "(member %n %l)",
    "(< %a %n)",
};

inline constexpr Pattern functions[] = {
    "(lambda (x) %a)",
    "(lambda (n) %n)",
    "(lambda (l) %l)",
    "(lambda () %n)",
    "(lambda (x y) (list x y))",
    "(lambda () %=n)",
    "(lambda (x) (if (more x) %a))",
    "(lambda (f x) (if (more f x) (f x)))",
    "(lambda (n) (if (more) (begin %=n %=a)))",
    "(lambda (x / y) x)",
    "(lambda (a b c) %n)",
    "(lambda (n) (lambda () %n))",
    "(lambda (n) (lambda () (setq n (+ n 1))))",
    "(if %t %f %f)",
    "(lambda (x) %a %a)",
    "(cdr (lambda (x) (y z) (+ y z)))",
    "(cdr %f)",
    "(lambda)",
    "(lambda (x))",
    "(lambda x x)",
    "(lambda ((x) y) y)",
    "(lambda (\"x\" 5 y) y)",
    "(lambda (x x) x)",
    "(car (list %f))",
    "((lambda (x) (lambda (y) (list x y))) %a)",
    "((lambda (f) f) %f)",
    "(begin %D)",
    "(setq g (lambda (x) %a))",
};

// What is called once it is known how.
inline constexpr Pattern calls[] = {
    "(f %n)",
    "(f %a %a)",
    "(g %l)",
    "(h %n %l)",
    "(f)",
    "(g)",
    "(h)",
    "(f %n %n %n %n)",
    "(g %a)",
    "(%f %a)",
    "(%f %n %l)",
    "((car (list %f %f)) %a)",
    "((if %t %f %f) %a)",
    "((lambda (x) (x %a)) %f)",
    "(f 'g %a)",
    "(f g %a)",
    "((g %a) %a)",
    "((f))",
    "(x %a)",
    "(y)",
    "((car m) %n)",
    "((cadr l) %a)",
    "(f (g %a))",
    "(f f f)",
    "((cond (%f)) %a)",
    "((begin %=a %f) %a)",
    "((setq f %f) %a)",
};

// What only this dialect answers, and what it answers to mistakes.
inline constexpr Pattern corners[] = {
    "zzz",
    "nil",
    "()",
    "(zzz)",
    "(zzz %a %a)",
    "(5 %a)",
    "(\"a\" %=a)",
    "(2.5 (princ 1) %a)",
    "('car %l)",
    "((entlast) %a)",
    "((ssget \"X\") %a)",
    "((quote (1 2)) %a)",
    "((list car) %l)",
    "(l 0)",
    "(n 1)",
    "(s %a)",
    "(() %a)",
    "(nil %a)",
    "(t %a)",
    "((lambda (x) x))",
    "((if %t car cdr) %l)",
    "((car (list car cdr)) %l)",
    "((setq f car) %l)",
    "((begin cdr) %l)",
    "((cond (zzz) (t car)) %l)",
    "(list zzz %=a n)",
    "(+ zzz %n)",
    "(car zzz)",
    "(f zzz %a)",
    "(list (zzz) %=a)",
    "(if zzz %a %a)",
    "(%r (setq %r %f) %a)",
    "(%r %a (setq %r %a))",
    "(setq %r %a)",
    "(define %r %f)",
    "((lambda (%r) (%r %a %n)) %f)",
    "((lambda (%r) (list %r %r)) %a)",
    "(car (setq %r car))",
    "(%b)",
    "(%b %a)",
    "(%b %a %a)",
    "(%b %a %a %a)",
    "(%b %n %l)",
    "(%b %l %n)",
    "(%b %s %n)",
    "(%b zzz)",
    "(if)",
    "(if %t)",
    "(if %t %a)",
    "(if %t %a %a %a)",
    "(if %a zzz %a)",
    "(cond)",
    "(cond %t)",
    "(cond 5)",
    "(cond (%t))",
    "(cond () (%t %a))",
    "(cond (zzz %a) (t %a))",
    "(cond (%t %a zzz %a))",
    "(cond ((not t) zzz zzz))",
    "(cond (() 1) 5 (t %a))",
    "(cond nil)",
    "(cond x)",
    "(cond \"nil\" (t 1))",
    "(not)",
    "(not %a %a)",
    "(and)",
    "(and zzz %=a)",
    "(or)",
    "(or %t zzz)",
    "(or zzz %t)",
    "(begin)",
    "(begin 5)",
    "(begin begin)",
    "(while)",
    "(while ())",
    "(while zzz %a)",
    "(while zzz)",
    "(while (begin %=a ()))",
    "(repeat)",
    "(repeat 3)",
    "(repeat \"3\" %=a)",
    "(repeat 2.0 %=a)",
    "(repeat -1 %=a)",
    "(repeat zzz %=a)",
    "(repeat 2 zzz %=n)",
    "(quote)",
    "(quote a b)",
    "''a",
    "(setq)",
    "(setq x)",
    "(setq x zzz)",
    "(setq x nil)",
    "(setq x %a y)",
    "(setq x %n y (+ x 1))",
    "(setq \"abc\" %a)",
    "(setq \"X\" %a)",
    "(setq 5 %a)",
    "(setq nil %a)",
    "(setq \"nil\" %a)",
    "(setq (x) %a)",
    "(setq 'x %a)",
    "(setq () %a)",
    "(setq u zzz u %a)",
    "(setq 2.5 %a n 3)",
    "(define)",
    "(define x)",
    "(define \"X\" %a)",
    "(define 5 %a)",
    "(define x zzz)",
    "(define q %a)",
    "q",
    "u",
    "(defun)",
    "(defun f)",
    "(defun f ())",
    "(defun \"f\" (x) x)",
    "(defun 5 (x) x)",
    "(defun (f) (x) x)",
    "(defun \"G\" (x) (+ x 1))",
    "(lambda)",
    "(lambda ())",
    "(defun c:box (x) (princ x))",
    "(box %a)",
    "(c:box 1)",
    "(defun c: () 1)",
    "(cdr %f)",
    "((cdr (lambda (x) (y z) (list y z))) %a %a)",
    "((cdr %f) %a)",
    "(length %f)",
    "((append %f '(1)) 1)",
    "(equal %f %f)",
    "(subst 1 'x %f)",
    "(reverse %f)",
    "(nth 1 %f)",
    "(car %f)",
    "((car (cdr (list 1 %f))) %a)",
    "(cons 1 nil)",
    "(cons 1 ())",
    "(cdr '(a . b))",
    "(cadr '(a . b))",
    "(cdr '(1 . (2 3)))",
    "(cons %a '(. b))",
    "'(a . )",
    "(car '(() 1))",
    "(atoi 5)",
    "(itoa 2.0)",
    "(strlen s s)",
    "(- -2147483648)",
    "(- -2147483648 1)",
    "(* 2147483647 2147483647)",
    "(/ -2147483648 -1)",
    "(/ 0 0)",
    "(/ 1.0 0)",
    "(~ 2.5)",
    "(logand)",
    "(logior 1 \"2\")",
    "(< (sqrt -1) 1)",
    "(= (sqrt -1) (sqrt -1))",
    "(equal 2 2.0)",
    "(eq \"1\" 1)",
    "(= \"a\" 'a)",
    "(/= '(1 2) '(1 3))",
    "(princ zzz)",
    "(princ)",
    "(princ %a %a)",
    "(print %a)",
    "(prompt %s)",
    "(command \"line\" %l %n \"\")",
    "(getvar %s)",
    "(strcat %l %n %f)",
    "(if \"nil\" %a %a)",
    "(vl-remove-if 'car %l)",
    "(vl-remove-if '(lambda (x) zzz) %l)",
    "(vl-remove-if '(lambda (x) (setq n x)) %l)",
    "(vl-remove-if '(lambda (x)) %l)",
    "(vl-remove-if '(lambda () 1) %l)",
    "(vl-remove-if '(lambda (x y) y) %l)",
    "(vl-remove-if '(1 (x) x) %l)",
    "(vl-remove-if '(lambda (x) (define y x)) %l)",
    "(vl-remove-if '(1 (x) (lambda () x)) %l)",
    "(vl-remove-if (lambda (x) (define q (lambda () x))) %l)",
    "(vl-remove-if (cons 1 (cons '(x) (list %f))) %l)",
    "(vl-remove-if (list 1 '(x) (list 'quote %f)) %l)",
    "(vl-remove-if (list 1 '(x) (list (list 'quote %f) 'x)) %l)",
    "(vl-remove-if (list 1 '(x) %f) %l)",
    "(vl-remove-if (list 1 '(x) (list '+ %n 'x)) %l)",
    "(vl-remove-if %q %l)",
    "(vl-remove-if (list 1 '(x) (list 'setq 'q %f)) %l)",
    "(vl-remove-if (list 1 '(x) (list 'define 'x %f)) %l)",
    "(vl-remove-if (list 1 '(x) (list 'setq 'm (list 'cons %f 'm))) '(1 2))",
    "(list %v %v)",
    "%q",
    "(setq %v %q)",
    "(define %v %q)",
    "(begin (setq x nil) (list x nil x))",
};

inline constexpr Pattern quotedValues[] = {
    "'a",
    "'()",
    "'(1 2)",
    "'(a . b)",
    "'nil",
    "'\"nil\"",
    "'5",
    "'(quote x)",
    "''a",
    "'(lambda (x) x)",
    "'(lambda (x) (if x t))",
    "'((1 . \"a\") (2 . \"b\"))",
    "'(\"a\" 2.5 (nil t ()))",
    "'car",
    "'(+ 1 2)",
    "'(nil)",
    "'(())",
    "'(1 . 2)",
    "'(f 1)",
};

inline constexpr Pattern statements[] = {
    "%=a",
    "%=n",
    "%=l",
    "%=s",
    "%=n",
    "%=l",
    "%=a",
    "(princ %a)",
    "(princ %n)",
    "(princ (list %n %s %l))",
    "%R",
    "%D",
    "%c",
    "%c",
    "(if %t %=a %=a)",
    "(if %t %S)",
    "(cond (%t %S) (%t %=a %=a) (t %S))",
    "(begin %S %S)",
    "(define x %n)",
    "(define %v %q)",
    "(if %t (define y %n))",
    "(if %t (define n %n))",
    "(if %t %D)",
    "(setq f %f)",
    "(setq g %f h %f)",
    "(setq x %n y %n)",
    "(while (and (more) %t) %S)",
    "(while (if (more) %t) %=a %=n)",
    "(begin (setq %i 0) (while (< %i %0) %S (setq %i (if (more) (+ %i 1) 99))))",
    "(begin (setq %i %l) (while (more (car %i)) %=a (setq x (car %i) %i (cdr %i)) (princ x)))",
    "(begin (setq %i '(3 1 2)) (while (setq x (car %i)) (setq %i (cdr %i)) %=n))",
    "(print %s)",
    "(prompt %s)",
    "%a",
    "(command \"circle\" %l %n)",
    "(setq %r %f)",
    "(define %r %a)",
    "(defun %r (x y) (if (more x y) %a))",
    "(princ (strcat %s \", \" %n))",
};

// Programs as people write them: a row is what stands together at top level, cut at each ";".
// clang-format off
inline constexpr Pattern storylines[] = {
    "(defun fact (n) (if (< n 2) 1 (* n (fact (- n 1)))));(fact %9);(setq n (+ n (fact %0)))",
    ("(defun fib (n) (if (< n 2) n (+ (fib (- n 1)) (fib (- n 2)))));(fib %0);"
     "(list (fib 7) (fib %0))"),
    "(defun down (n) (if (< n 1) 0 (+ 1 (down (- n 1)))));(down 300);(setq n (down %9))",
    ("(defun down (n / k) (setq k n) (cond ((< n 1) 0) (t (+ k (down (- n 1))))));(down 200);"
     "(down %9)"),
    ("(defun even (n) (if (= n 0) t (odd (- n 1))));"
     "(defun odd (n) (if (= n 0) (not t) (even (- n 1))));(list (even %9) (odd %9))"),
    "(setq %i 0 n 0);(while (< %i 10) (setq n (+ n %i)) (setq %i (+ %i 1)));(princ n)",
    "(setq %i 10 l '());(while (> %i 0) (setq l (cons %i l) %i (- %i 1)));(princ l);(length l)",
    ("(setq l '());(repeat 6 (setq l (append l (list (length l)))));l;(setq m (cons 'z l));"
     "(setq l (append l '(end)));(list l m)"),
    ("(setq s \"\" k 0);(repeat 5 (setq s (strcat s (itoa k)) k (+ k 1)));"
     "(setq r (strcat s \"x\"));(setq s (strcat s \"y\"));(list r s)"),
    ("(setq l '(1 2 3));(setq m (append l '(4)));(setq x (append l '(5)) y (cons 0 l));"
     "(setq l (cdr (append m '(6))));(list l m x y)"),
    ("(setq l (list %a %a));(setq m (cons %a l) x (cons %a l));(setq y (append m x));"
     "(list (cdr m) (cdr x) y)"),
    ("(setq s (strcat \"ab\" \"cd\"));(setq r (strcat s \"1\") x (strcat s \"2\"));"
     "(setq y (substr r 2));(list s r x y (strcat y \"3\") r)"),
    ("(defun sum (l / n) (while l (if (listp l) (setq n (+ n (car l)) l (cdr l)) (setq l (not "
     "t)))) n);(sum '(1 2 3));(sum (list 4 5.5 %0))"),
    ("(defun make (n) (lambda () (setq n (+ n 1))));(setq f (make %0) g (make 10));"
     "(list (f) (f) (g) (f));%S;(list (f) (g))"),
    ("(defun pair (n) (list (lambda (v) (setq n v)) (lambda () n)));(setq m (pair 5));((cadr m));"
     "((car m) %n);((cadr m));%S;((cadr m))"),
    ("(defun compose (f g) (lambda (x) (if (more) (f (g x)))));"
     "(setq h (compose (lambda (n) (* n n)) (lambda (n) (+ n 1))));(h %n);(h 3);"
     "((compose car cdr) %l)"),
    ("(defun outer (n / k) (setq k (+ n 1)) (defun inner (x) (setq k (+ k x)) (list n k x)) "
     "(inner 1) (inner %n));(outer %n);(outer 3);(inner 1)"),
    ("(defun late (c) (princ x) (if c (define x 1)) (princ x) (setq x (list x 2)) x);"
     "(setq x 'global);(late %t);(late t);(late (not t));x"),
    ("(defun late (c) (if (more) (begin (princ (helper 1)) (if c (defun helper (v) (list 'inner "
     "v))) (helper 2))));(defun helper (v) (list 'outer v));(late t);(late (not t));(helper 3)"),
    ("(defun grow (n) (if (more n) (begin (define y n) (lambda () (setq y (+ y n))))));"
     "(setq f (grow 1) g (grow 2));(list (f) (g) (f) (g) (f));y"),
    ("(defun f (n) (if (more n) (begin (defun f (n) (list 'new n)) (list 'old n (f n)))));(f 1);"
     "(f 2)"),
    "(defun f (n) (if (more n) (begin (setq f (lambda (x) (* x x))) (f n)) n));(f 3);(f 4)",
    ("(defun eq (a b) (if (more) (begin (princ a) (= a b))));(member 2 '(1 2 3));"
     "(vl-remove 3 '(1 2 3 3));(member %n %l);(defun eq (a b) (if (more) (< a b)));"
     "(vl-remove 2 '(1 2 3))"),
    ("(defun eq (p1) (if (more) (equal p1 p2)));(member 2 '(1 2 3));(setq eq 5);(member 2 '(1 2));"
     "(setq eq equal);(vl-remove 1 %l)"),
    ("(defun big (x) (if (more) (> x 2)));(vl-remove-if big '(1 2 3 4));"
     "(vl-remove-if 'big '(1 2 3));(vl-remove-if (lambda (n) (big n)) '(1 2 3 4));"
     "(vl-remove-if '(lambda (x) (big x)) %l)"),
    ("(setq n 1);(defun scan (n l) (if (more n l) (vl-remove-if '(lambda (x) (< x n)) l)));"
     "(scan 3 '(0 1 2 3 4));"
     "(defun scan (n l) (if (more n l) (vl-remove-if (lambda (x) (< x n)) l)));"
     "(scan 3 '(0 1 2 3 4))"),
    ("(setq f (lambda (x) (y z) (list x y z)));(f 1);(setq g (cdr f));(g 1 2);(length g);"
     "(setq h (cdr g));(h 1 2)"),
    ("(defun insert (x l) (cond ((nullp l) (list x)) ((< x (car l)) (cons x l)) (t (cons (car l) "
     "(if (more) (insert x (if (= (length l) 1) '() (cdr l))))))));(insert %n '(1 3 5));"
     "(insert 4 (insert 2 '(1 3 5)))"),
    ("(setq m '((1 . \"one\") (2 . \"two\") (3 . \"three\")));(cdr (assoc %0 m));"
     "(setq m (subst '(2 . \"zwei\") (assoc 2 m) m));(princ m)"),
    "(defun swap (a b / x) (setq x a a b b x) (list a b x));(swap %n %n);(swap 1 2)",
    ("(defun many (a b c n i k l m s r x y / u v) (setq u (list a b c n) v (list i k l)) (define "
     "w (+ a b)) (list u v w m s r x y));(many 1 2 3 4 5 6 7 8 9 10 11 12);(many %n %n)"),
    ("(defun nest (n) ((lambda (a) ((lambda (b) (begin (setq n (+ n 1)) (list a b n))) (+ a 1))) "
     "n));(nest %n);(nest 5)"),
    ("(setq l (list car cdr length + (lambda (x) (list x))));((nth 0 l) '(1 2));"
     "((nth %0 l) '(1 2));((last l) %a);((nth 3 l) 1 2 3)"),
    "(defun count (n) (setq k 0) (repeat n (setq k (+ k 1)) %=a) k);(count %9);(count %0)",
    ("(defun name (x / x) x);(name 5);(defun name (x x) x);(name 1 2);(defun name (x /) (list x));"
     "(name 3);(defun name (/ x) (setq x (+ x 1)));(name)"),
    ("(defun locals (/ a b) (list a b (if a 1 2) (= a \"0\") (strcat a)));(locals);"
     "(defun locals (/ n) (repeat 3 (setq n (+ n 2))) n);(locals)"),
    ("(setq %i 0 l '());(while (< %i 4) (setq l (cons (lambda () %i) l)) (setq %i (+ %i 1)));"
     "((car l));(length l);((last l))"),
    ("(defun apply2 (f a b) (if (more) (f a b)));(apply2 + %n %n);(apply2 'list 1 2);"
     "(apply2 (lambda (x y) (cons x y)) %a %l);(apply2 car '(1) 2);(apply2 5 1 2)"),
    "(setq x nil y nil);(if x 1 2);(list x y);(setq x (list x 1 y));(cons x y)",
    ("(begin (princ 1) (zzz) (princ 2) (setq x 3) (princ x));(list (zzz) (setq y 1) y);"
     "(setq x (zzz) y 2);(list x y)"),
};
// clang-format on

// With what most programs begin, so that names have values of the kinds that patterns expect.
// clang-format off
inline constexpr Pattern beginnings[] = {
    "(setq n 3 i 0 k 10 l '(1 2 3) m '(a b) s \"abc\" r \"\" x 5 y 'y a 1 b 2 f car g list h +)",
    ("(setq n 1 i 2 k -3 l '(3 1 2) m (list car cdr) s \"x\" r \"12\" x '(1 . 2) y 2.5 a \"a\" b "
     "'() f (lambda (x) (list x)) g (lambda (n) (+ n 1)) h length)"),
    ("(setq n 2.5 i 5 k 100 l '((1 2) (3 4)) m '() s \"Ab c\" r \"nil\" x (not t) y 'x a 7 b 8 f "
     "(lambda () 5) g + h (lambda (a b) (cons a b)))"),
};
// clang-format on

inline constexpr Pattern parameterLists[] = {
    "(x)",       "(n)",     "(x y)",       "(n l)",   "()",        "(l)",           "(n / k)",
    "(x / y)",   "(/ n)",   "(x y / a b)", "(s n)",   "(f x)",     "(a b n)",       "(l / n x)",
    "(x / )",    "(/)",     "(x x)",       "(x / x)", "(n x / n)", "(x / y / a)",   "x",
    "nil",       "(x . y)", "(\"x\" y)",   "(5 x)",   "((x) y)",   "(x (y) / (a))", "(quote x)",
    "(if setq)", "(t n)",   "(nil x)",     "(%r x)",  "(%r %r)",   "(n / %r)",
};

// What the programs that rebind, rebind; of these a program takes a few.
inline constexpr Pattern rebindable[] = {
    "nil",  "+",     "car",     "list",   "t",      "<",   "eq",     "cons",         "cdr",
    "-",    "equal", "pi",      "append", "length", "=",   "*",      "strcat",       "if",
    "setq", "quote", "not",     "lambda", "princ",  "nth", "member", "vl-remove-if", "/",
    ">",    "nullp", "reverse", ".",
};

// What gives a value larger than those that it is given.
inline constexpr Pattern growing[] = {"list",  "cons",  "append", "strcat",
                                      "subst", "princ", "prin1",  "print"};

// Growth a little at a time, from one variable into itself: what loops over lists and texts do.
inline constexpr Pattern listSteps[] = {
    "(setq l (cons %0 l))",
    "(setq l (append l (list %0)))",
    "(setq m (append m (list n)))",
    "(setq m (cons k m))",
    "(setq l (cdr l))",
    "(setq l (append l '(a b)))",
    "(setq l (reverse l))",
    "(setq m (cdr l))",
};
inline constexpr Pattern textSteps[] = {
    "(setq s (strcat s \"b\"))",
    "(setq s (strcat s (itoa %0)))",
    "(setq r (strcat \"a\" r))",
    "(setq r (substr s 2))",
};

// Names that a program may bind to any function.
inline constexpr Pattern unknownHeads[] = {"f", "g", "h", "x",   "y",   "n",
                                           "l", "s", "t", "box", "zzz", "nil"};

inline constexpr Pattern variables[] = {"n", "i", "k", "l", "m", "s", "r", "x",
                                        "y", "a", "b", "f", "g", "h", "q", "u"};

}  // namespace vlisp::reference::patterns

// The check that a program makes of itself at its start: does another instance of me run? A program
// exists in two forms, a plain one and one with "console" behind its name, and the check knows
// both. The calling program is counted like any other, so its own name has to be there more than
// once.
//
// Each call takes a snapshot of its own on the heap and reserves nothing: two programs that start
// in the same instant can both find, or both miss, each other. If the system refuses the list of
// processes, nobody is found.
//
// `name` is the name of the plain form, in any case, and has to be the whole short name that the
// system keeps. On Linux that is 15 bytes: a longer name never matches, and a plain name of 9 and
// more characters has a console name that never can.
#ifndef QZ_PROCESS_SELF_CHECK_H_
#define QZ_PROCESS_SELF_CHECK_H_

#include "strings/string8.h"

// Whether another instance runs. With `checkBothForms` false: two processes of `name`, whichever
// form the caller is. With both: two of the caller's own form, as `isConsoleForm` tells it, or any
// of the other. `pid` may be null. It gets the id of a process of the plain form alone: of the last
// one, for a console caller that checks both forms of the first one, or 0 if there is none. An
// empty `name` in that last case leaves it untouched.
bool ourProcessAlreadyExists(_qzString8_allSize<25> name, bool isConsoleForm, bool checkBothForms,
                             long long* pid);

// Whether at least two others run beside the caller: more than two processes of `name`, with
// `checkBothForms` of both forms together.
bool ourProcessAlreadyExistsTwice(_qzString8_allSize<25> name, bool checkBothForms);

// As ourProcessAlreadyExists, among the processes of one user alone: a login name in any case, cut
// at 25 characters, or a decimal user id where the system knows no such user.
bool ourProcessAlreadyExists_SameUser(_qzString8_allSize<25> const& name,
                                      _qzString8_allSize<25> const& user, bool isConsoleForm,
                                      bool checkBothForms, long long* pid);

#endif  // QZ_PROCESS_SELF_CHECK_H_

// What a host includes: the engine with the classes that it hands out, functions and packages of a
// host's own, the shared constant cells, and the exceptions.
//
// Headers that are not reached from here are the library's own and may change between versions.

#pragma once

#include "reasoner/engine/Dialogs.h"
#include "reasoner/engine/HostObjects.h"
#include "reasoner/engine/Reasoner.h"
#include "reasoner/facts/DefinedType.h"
#include "reasoner/facts/Fact.h"
#include "reasoner/facts/FactSet.h"
#include "reasoner/facts/FactSlot.h"
#include "reasoner/facts/FactTemplate.h"
#include "reasoner/functions/HostFunction.h"
#include "reasoner/functions/UserPackage.h"
#include "reasoner/library/Packages.h"
#include "reasoner/match/Activation.h"
#include "reasoner/match/Rule.h"
#include "reasoner/support/Exception.h"
#include "reasoner/values/Constants.h"
#include "reasoner/values/KBValue.h"
#include "reasoner/values/ValueVector.h"
#include "reasoner/vocabulary/KBConsts.h"
#include "reasoner/vocabulary/KBExceptions.h"

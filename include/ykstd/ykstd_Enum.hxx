// The library's enumerations. Their numbers are stored in files and must not change.
#pragma once

namespace ykenum {

enum Unit : unsigned char {
  UnitMM = 0,
  UnitInch = 1,
  UnitMM2 = 2,
  UnitIn2 = 3,
  UnitThreadM = 4,
  UnitThreadBSP = 5,
  UnitThreadBSF = 6,
  UnitThreadBSW = 7,
  UnitThreadNPT = 8,
  UnitThreadUNC = 9,
  UnitRad = 10,
  UnitDeg = 11,
  UnitNone = 12
};

enum DimType { DimAngle = 0, DimLength = 1, DimThread = 2, DimArea = 3, DimAny = 4 };

// Results of the expression evaluator. 5, 6 and 11 are given only by the add-in's own functions.
enum ExprError : unsigned char {
  ExprNoError = 0,
  ExprDivisionByNull = 1,
  ExprInvalidFunction = 2,
  ExprInvalidCharacter = 3,
  ExprParenthesis = 4,
  ExprIndexOutOfRange = 5,
  ExprUnknownPlateFunction = 6,
  ExprTrailingCharacters = 7,
  ExprInvalidArgument = 8,
  ExprInvalidOperation = 9,
  ExprWrongArgumentCount = 10,
  ExprNoAssembly = 11
};

// The arguments an expression function takes, and so which of its Compute overloads is called.
enum ArgType : unsigned char { ArgInt = 0, ArgDim = 1, ArgIntInt = 2 };

// Order of the parts of a date's text. A whole int underneath, so that any number passed in is a
// value of the type (numbers beyond the last give an empty text).
enum DateFormat : int { DateDMY = 0, DateMDY = 1, DateYMD = 2 };

// How a date's month is written: as a number; every other value stands for the month's name.
enum MonthFormat : int { MonthNumber = 0, MonthText = 1 };

}  // namespace ykenum

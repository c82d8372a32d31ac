/* Physical units: the unit and unit-type tables, conversion between units of one type and
 * between image pixels and calibrated lengths, areas and volumes, automatic unit choice, and the
 * text of a time calibration.
 *
 * Every function has C linkage and an undecorated exported name, so that modules written in
 * other languages can bind to them by name.
 *
 * Units are identified by an int unit ID (table rows 0..30); unit types by an int type ID
 * (rows 0..12).  An ID outside its table is never used as an index: name lookups fall back to
 * row 10 ("unknown", "??", "Unknown") and to type 0 ("No unit").
 *
 *   ID  name        short  long                 type  factor to the type's base unit
 *    0  pixels      px     Pixels                1    none (NaN): pixels need a calibration
 *    1  nm          nm     Nanometers            1    0.001
 *    2  "um" (micro sign, U+00B5 m) twice, Micrometers  1   1 (base of lengths)
 *    3..7 mm cm dm m km                          1    1e3 1e4 1e5 1e6 1e9
 *    8  mil         mil    Mils                  1    25.4
 *    9  inch        in     Inches                1    25400
 *   10  unknown     ??     Unknown               0    1
 *   11..13 deg rad grad                          4    0.0174532925..., 1 (base), 0.0157079632...
 *   14..19 hour min s ms us ns (short h m s ms us ns) 6  3600 60 1 (base) 1e-3 1e-6 1e-9
 *   20  val         (empty) Value                7    1 (base)
 *   21  percent     %      Percents              7    0.01
 *   22..24 celsius kelvin fahrenheit (short: degree sign U+00B0 C, K, U+00B0 F)  8  by formula
 *   25..28 nmol umol mmol mol (nM uM mM M)     10   1 (base) 1e3 1e6 1e9
 *   (every "u" above is the micro sign U+00B5 in the table)
 *   29, 30 mBar, Bar                             0    1
 *
 * The minute's short name "m" equals the meter's, and the pressure units report type 0 although
 * a "Pressure" type exists; stored settings rely on both, so they are kept.
 *
 * Velocity units (type 11) are composite IDs: (length unit ID + 1) * 100 + time unit ID; 316 is
 * micrometers per second.
 *
 * The tables are constant data, ready when the library is loaded.  Only Get_UnitType_LongName,
 * Get_UnitType_ShortName and Get_UnitType_ID write to shared (process-wide) buffers and must not
 * be called concurrently; everything else may be called from any thread. */
#ifndef ORVIK_UNITS_KRUNITS_H
#define ORVIK_UNITS_KRUNITS_H

#include <wchar.h>

#include "platform/KrTypes.h"

#ifdef __cplusplus
class CKrStringW;
extern "C" {
#else
typedef struct CKrStringW CKrStringW; /* opaque for C callers */
#endif

/* ----- Names and lookup ---------------------------------------------------------------------- */

/* Lookup name, short name and long name of a unit: pointers into the constant table, valid for
 * the life of the library.  A unit outside 0..30 gives row 10 ("unknown", "??", "Unknown"). */
ORVIK_API const wchar_t *Get_Unit_Name(int unit);
ORVIK_API const wchar_t *Get_Unit_ShortName(int unit);
ORVIK_API const wchar_t *Get_Unit_LongName(int unit);

/* Type of a unit: 0..9 -> 1, 11..13 -> 4, 14..19 -> 6, 20..21 -> 7, 22..24 -> 8, 25..28 -> 10;
 * anything else (10, 29, 30 and every ID outside the table) -> 0. */
ORVIK_API int Get_Unit_Type(int unit);

/* Unit ID of a text, compared without regard to case.  Search order, first match wins:
 * the alias "um" (-> 2); the lookup names of 0..9, then of 11..30; the short names of 0..9; the
 * long names of 0..9; then for each unit 11..30 its short or long name.  Lengths therefore take
 * precedence: "m" is meters (6), never minutes (15).  No match, or a null text, gives 10.
 * The empty text matches the empty short name of "val" and gives 20. */
ORVIK_API int Get_Unit_ID(const wchar_t *text);

/* Name of a unit type; a type outside 0..12 gives "No unit". */
ORVIK_API const wchar_t *Get_UnitType_Name(int type);

/* Number of units of a type, the unit at an index, and the type's default unit:
 *   type  units  unit(i)  default        type  units  unit(i)  default
 *    0     0      10       10              7     2     20+i     21
 *    1-3   10     i        2               8     3     22+i     22
 *    4     3      11+i     11              9     0     10       10
 *    5     1      1        1              10     4     25+i     25
 *    6     6      14+i     16             11     0     0        316
 *   12     0      0        10         other      0     0        10
 * For a type with units, an index outside 0..count-1 gives 10 (unknown) rather than an ID that
 * belongs to another type. */
ORVIK_API int Get_UnitType_NumUnits(int type);
ORVIK_API int Get_UnitType_Unit(int type, int index);
ORVIK_API int Get_Unit_Default(int type);

/* Long and short display text of a unit within a type:
 *   type 2: the length text followed by U+00B2 ("mm" + U+00B2); type 3: followed by U+00B3;
 *   type 11: "<length>/<time>" of the composite ID (unit / 100 - 1, unit % 100), e.g.
 *            Get_UnitType_LongName(11, 316) == "Micrometers/Seconds";
 *   any other type: the unit's own table text (row 10 for a unit outside the table).
 * Composed texts are cut to 32 characters and written into one shared buffer per function: the
 * pointer stays valid until the next call of the same function (from any thread). */
ORVIK_API const wchar_t *Get_UnitType_LongName(int type, int unit);
ORVIK_API const wchar_t *Get_UnitType_ShortName(int type, int unit);

/* Reverse of the two above.  Types 2 and 3: the first 32 characters of the text are copied into
 * a shared buffer, the last one (the power sign) is dropped and the rest goes to Get_Unit_ID.
 * Type 11: the text is split at the first '/'; no '/' or an unknown half gives 10, otherwise
 * (length + 1) * 100 + time ("mm/s" -> 416).  Other types: Get_Unit_ID.  A null text gives 10. */
ORVIK_API int Get_UnitType_ID(int type, const wchar_t *text);

/* Display group of a unit: 5 -> 2; 8, 9 and 24 -> 1; everything else -> 6. */
ORVIK_API int GetUnitGroup(int unit);

/* ----- Factors ------------------------------------------------------------------------------- */

/* Micrometers in one length unit: 1 -> 0.001, 3 -> 1e3, 4 -> 1e4, 5 -> 1e5, 6 -> 1e6, 7 -> 1e9,
 * 8 -> 25.4, 9 -> 25400; anything else (pixels and micrometers included) -> 1.0. */
ORVIK_API double HowManyMicronsAmI(int unit);
/* Milliseconds in one time unit: 14 -> 3.6e6, 15 -> 6e4, 16 -> 1000, 18 -> 1e-3, 19 -> 1e-6;
 * anything else (milliseconds included) -> 1.0. */
ORVIK_API double HowManyMillisecondsAmI(int unit);

/* Factor from a unit to its type's base unit (see the table above).  Type 1: NaN for pixels,
 * otherwise HowManyMicronsAmI; type 2 its square; type 3 its cube; type 4: 11 -> 0.01745...,
 * 13 -> 0.0157..., else 1; type 6: seconds per unit; type 7: 20 -> 1, anything else 0.01;
 * type 10: 26 -> 1e3, 27 -> 1e6, 28 -> 1e9, else 1; type 11: the length factor of the composite
 * divided by its time factor (NaN for pixels per time); every other type, including IDs outside
 * 0..12: 1.0. */
ORVIK_API double Get_Unit_MulFactor(int type, int unit);

/* ----- Conversion ---------------------------------------------------------------------------- */

/* Converts a value between two units of one type.  Equal units return the value unchanged.
 * Temperatures (type 8) go through an intermediate: from kelvin adds 273.15, from fahrenheit
 * (v - 32) * 5 / 9; to kelvin subtracts 273.15, to fahrenheit v * 9 / 5 + 32.  The kelvin signs
 * are the reverse of the physical relation; values stored by callers depend on them, so they are
 * kept.  Velocities (type 11) convert length and time parts separately; with a pixel length on
 * either side only the time part is converted.  Other types: factor(from) * value / factor(to),
 * or the value unchanged when either factor is NaN (pixels).  NaN and infinities propagate. */
ORVIK_API double Convert_Unit_To_Unit(double value, int type, int from, int to);

/* Pixels to a unit with a calibration in micrometers per pixel (squared for type 2, cubed for
 * type 3).  Unit 0 returns the value.  The calibration is used as given, so 0 yields 0. */
ORVIK_API double Convert_Pixels_To_Unit(double value, int type, int unit, double calibration);
/* A unit to pixels, the inverse of the above.  Unit 0 returns the value.  A calibration of
 * exactly 0.0 is taken as 1.0 here (and only here): callers rely on a zero calibration meaning
 * "uncalibrated" when reading values back. */
ORVIK_API double Convert_Unit_To_Pixels(double value, int type, int unit, double calibration);
/* Dispatches on pixels: both units non-zero -> Convert_Unit_To_Unit; only from zero -> pixels to
 * unit; only to zero -> unit to pixels; both zero -> the value unchanged. */
ORVIK_API double Convert_Unit_To_Unit_Cal(double value, int type, int from, int to,
                                          double calibration);

/* ----- Automatic unit choice ----------------------------------------------------------------- */

/* Chooses a readable unit for `value`, stores it through `unit` (when not null) and returns it.
 *   current a time unit (14..19): the value is in milliseconds; the largest unit in which it
 *     exceeds 1.0 is chosen (1000 ms stays in ms, 1001 ms becomes s).  When none fits (tiny,
 *     zero, negative or NaN values) 17 (ms) is stored and 6 (the time type) is returned.
 *   current 8, 9 or 24: imperial choice, mils or inches, by floor(log10(value * 25.4)).
 *   otherwise: metric choice nm, um, mm, cm, dm, m, km by floor(log10(value)), the unit
 *     whose decimal exponent (-3, 0, 3, 4, 5, 6, 9) is nearest, the smaller unit on a tie.
 *   A value of zero, a negative or a non-finite value has no exponent: 0 is stored and returned. */
ORVIK_API int Calc_Auto_Units(double value, int *unit, int current);

/* Scales a time calibration for display: a value above 900.0 ms is divided by 1000 and the text
 * becomes "s"; otherwise the value is kept and the text becomes "ms".  Does nothing when either
 * pointer is null.  Always returns 0. */
ORVIK_API int FormatTimeCalibration(double *value, CKrStringW *unitText);

#ifdef __cplusplus
}
#endif

#endif

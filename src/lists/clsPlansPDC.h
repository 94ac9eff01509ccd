// The machine's reference plans: named pairs of axes (letter and coefficient of the abscissa and
// of the ordinate, and whether R programming is used), kept in section "PLANS" of Telvar.ini.
#pragma once

#include <cstdint>
#include <string>

#include "lists/clsListOf.h"

namespace kirva {

class clsPlansPDCInfos {
  public:
    const std::string& RefPlan() const { return refPlan_; }
    void RefPlan(const std::string& v) { refPlan_ = v; }
    const std::string& LadX() const { return ladX_; }
    void LadX(const std::string& v) { ladX_ = v; }
    const std::string& LadY() const { return ladY_; }
    void LadY(const std::string& v) { ladY_ = v; }
    float CoeffX() const { return coeffX_; }
    void CoeffX(float v) { coeffX_ = v; }
    float CoeffY() const { return coeffY_; }
    void CoeffY(float v) { coeffY_ = v; }
    bool ProgR() const { return progR_; }
    void ProgR(bool v) { progR_ = v; }

    // Sets the six properties with the defaults: empty letters become "X" / "Y", a coefficient 0 becomes 1.
    void Init(const std::string& refPlan, const std::string& ladX, const std::string& ladY, float coeffX,
              float coeffY, bool progR);
    // Reads "ref:", "LadX:", "LadY:", "CoeffX:", "CoeffY:", "R:" from a file line, then Init.
    void InitByTag(const std::string& line);
    // "ref:P|LadX:X|LadY:Y|CoeffX:1|CoeffY:1|R:0|"; the coefficients in the locale's number format.
    std::string FNFormatForIni() const;
    const std::string& FNRef() const { return refPlan_; }

  private:
    std::string refPlan_, ladX_, ladY_;
    float coeffX_ = 0, coeffY_ = 0;
    bool progR_ = false;
};

class clsPlansPDC : public clsListOf<clsPlansPDCInfos> {
  public:
    static constexpr const char* kSection = "PLANS";

    // Stores the path and loads the section (the list is emptied first).
    void Init(const std::string& path);
    // Appends a plan under a unique name (name, name_1, name_2 ...), with the defaults of Init.
    void AddPlan(const std::string& name, const std::string& ladX, const std::string& ladY, float coeffX,
                 float coeffY, bool progR);
    // Overwrites the plan named oldName with the values as given (no defaults); when there is no such
    // plan, adds one as AddPlan does. A rename to a name that another plan already holds is refused:
    // nothing changes and false is returned.
    bool ModifPlan(const std::string& oldName, const std::string& name, const std::string& ladX,
                   const std::string& ladY, float coeffX, float coeffY, bool progR);
    // Removes the first plan of that name, if any.
    void DeletePlan(const std::string& name);

    // Name of the plan at a position (from 1); "" when there is none.
    std::string FNGetRefPlan(std::int32_t position) const;
    // Properties of the first plan of that name; an unknown name gives "", 0 or false.
    std::string FNGetLadX(const std::string& name) const;
    std::string FNGetLadY(const std::string& name) const;
    float FNGetCoeffX(const std::string& name) const;
    float FNGetCoeffY(const std::string& name) const;
    bool FNGetProgR(const std::string& name) const;

    // Deletes the section and writes one line a plan, in list order, as one flush; with no plan the
    // section is gone. False when the file could not be written.
    bool Save() const;
};

// A coefficient typed or read from the file: leading number with "." as the only decimal separator.
float CoefficientFromText(const std::string& text);
// A coefficient as shown and written: the shortest decimal of the float, in the locale's number format.
std::string CoefficientToText(float value);

} // namespace kirva

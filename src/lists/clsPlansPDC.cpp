#include "lists/clsPlansPDC.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace kirva {

namespace {

// The float as the shortest decimal that reads back as the same float (0.1f -> 0.1, not
// 0.100000001490116), so that formatting shows what the user typed.
double AsDecimal(float value) {
    if (!std::isfinite(value)) return static_cast<double>(value);
    char buffer[64];
    const auto written = std::to_chars(buffer, buffer + sizeof buffer, value);
    double result = static_cast<double>(value);
    std::from_chars(buffer, written.ptr, result);
    return result;
}

} // namespace

float CoefficientFromText(const std::string& text) {
    const double value = ParseLeadingNumber(text);
    constexpr double kMax = std::numeric_limits<float>::max();
    if (std::isnan(value)) return 0;
    if (value > kMax) return std::numeric_limits<float>::max();
    if (value < -kMax) return std::numeric_limits<float>::lowest();
    return static_cast<float>(value);
}

std::string CoefficientToText(float value) {
    return FormatValue(AsDecimal(value));
}

void clsPlansPDCInfos::Init(const std::string& refPlan, const std::string& ladX, const std::string& ladY,
                            float coeffX, float coeffY, bool progR) {
    refPlan_ = refPlan;
    ladX_ = ladX.empty() ? "X" : ladX;
    ladY_ = ladY.empty() ? "Y" : ladY;
    coeffX_ = coeffX == 0 ? 1.0f : coeffX;
    coeffY_ = coeffY == 0 ? 1.0f : coeffY;
    progR_ = progR;
}

void clsPlansPDCInfos::InitByTag(const std::string& line) {
    Init(GetTagValue(line, "ref:"), GetTagValue(line, "LadX:"), GetTagValue(line, "LadY:"),
         CoefficientFromText(GetTagValue(line, "CoeffX:")), CoefficientFromText(GetTagValue(line, "CoeffY:")),
         GetTagValue(line, "R:") == "1");
}

std::string clsPlansPDCInfos::FNFormatForIni() const {
    return "ref:" + refPlan_ + "|LadX:" + ladX_ + "|LadY:" + ladY_ + "|CoeffX:" + CoefficientToText(coeffX_) +
           "|CoeffY:" + CoefficientToText(coeffY_) + "|R:" + (progR_ ? "1" : "0") + "|";
}

void clsPlansPDC::Init(const std::string& path) {
    path_ = path;
    items_.clear();
    for (const std::string& line : ReadTagLines(path_, kSection)) {
        clsPlansPDCInfos plan;
        plan.InitByTag(line);
        items_.push_back(plan);
    }
}

void clsPlansPDC::AddPlan(const std::string& name, const std::string& ladX, const std::string& ladY,
                          float coeffX, float coeffY, bool progR) {
    clsPlansPDCInfos plan;
    plan.Init(UniqueName(name), ladX, ladY, coeffX, coeffY, progR);
    items_.push_back(plan);
}

bool clsPlansPDC::ModifPlan(const std::string& oldName, const std::string& name, const std::string& ladX,
                            const std::string& ladY, float coeffX, float coeffY, bool progR) {
    const std::int32_t position = FirstPosition(oldName);
    if (position == 0) {
        AddPlan(name, ladX, ladY, coeffX, coeffY, progR);
        return true;
    }
    if (name != oldName && Exists(name)) return false;
    clsPlansPDCInfos& plan = At(position);
    plan.RefPlan(name);
    plan.LadX(ladX);
    plan.LadY(ladY);
    plan.CoeffX(coeffX);
    plan.CoeffY(coeffY);
    plan.ProgR(progR);
    return true;
}

void clsPlansPDC::DeletePlan(const std::string& name) {
    RemoveAt(FirstPosition(name));
}

std::string clsPlansPDC::FNGetRefPlan(std::int32_t position) const {
    return At(position).RefPlan();
}
std::string clsPlansPDC::FNGetLadX(const std::string& name) const {
    return At(FirstPosition(name)).LadX();
}
std::string clsPlansPDC::FNGetLadY(const std::string& name) const {
    return At(FirstPosition(name)).LadY();
}
float clsPlansPDC::FNGetCoeffX(const std::string& name) const {
    return At(FirstPosition(name)).CoeffX();
}
float clsPlansPDC::FNGetCoeffY(const std::string& name) const {
    return At(FirstPosition(name)).CoeffY();
}
bool clsPlansPDC::FNGetProgR(const std::string& name) const {
    return At(FirstPosition(name)).ProgR();
}

bool clsPlansPDC::Save() const {
    return WriteLines(kSection, FormattedLines(), true);
}

} // namespace kirva

#include "pedotransfer/EnsembleSummary.h"

#include <cmath>
#include <stdexcept>

EnsembleSummary::EnsembleSummary(const Eigen::MatrixXd &members,
                                 const std::vector<bool> &log10Columns, SummaryKind kind)
    : m_kind(kind), m_log10(log10Columns), m_estimates(members.cols()),
      m_spreads(members.cols())
{
    if (Eigen::Index(log10Columns.size()) != members.cols())
        throw std::invalid_argument("one log10 flag an output is needed");
    for (Eigen::Index k = 0; k < members.cols(); ++k) {
        const Eigen::VectorXd column = members.col(k);
        if (m_log10[k]) {
            summariseLog10(int(k), column);
        } else {
            m_estimates[k] = mean(column);
            m_spreads[k] = sampleSd(column);
        }
    }
}

void EnsembleSummary::summariseLog10(int k, const Eigen::VectorXd &log10Values)
{
    if (m_kind == SummaryKind::Log) {
        m_estimates[k] = mean(log10Values);
        m_spreads[k] = sampleSd(log10Values);
        return;
    }
    const Eigen::VectorXd linear =
        log10Values.unaryExpr([](double v) { return std::pow(10.0, v); });
    m_estimates[k] = m_kind == SummaryKind::Arith ? mean(linear)
                                                  : std::pow(10.0, mean(log10Values));
    m_spreads[k] = sampleSd(linear);
}

double EnsembleSummary::linearEstimate(int k) const
{
    if (m_log10.at(k) && m_kind == SummaryKind::Log)
        return std::pow(10.0, m_estimates[k]);
    return m_estimates[k];
}

double EnsembleSummary::mean(const Eigen::VectorXd &values)
{
    return values.sum() / double(values.size());
}

// Two passes (mean first, then the squared deviations from it), which keeps
// the rounding small when the spread is small beside the mean.
double EnsembleSummary::sampleSd(const Eigen::VectorXd &values)
{
    const double m = mean(values);
    const double squares = (values.array() - m).square().sum();
    return std::sqrt(squares / double(values.size() - 1));
}

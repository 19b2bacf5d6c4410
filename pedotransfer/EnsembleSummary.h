#pragma once

#include <Eigen/Dense>

#include <vector>

// How the ensemble's values of a quantity that the networks give as a base-10
// logarithm (alpha, n, Ks, K0) are summarised. Plain outputs (theta_r, theta_s,
// L) are always summarised by their mean and standard deviation.
enum class SummaryKind {
    Log,   // mean and standard deviation of the log10 values, in log10 form
    Arith, // mean and standard deviation of the linear values
    Geo    // 10^(mean of the log10 values); spread as for Arith
};

// The summary of an ensemble's predictions for one record: one estimate and one
// spread (sample standard deviation, divisor N - 1) an output. The spread tells
// how far the members disagree, not how well the mean is known.
class EnsembleSummary
{
public:
    // `members`: one row a member, one column an output; `log10Columns[k]` says
    // that column k holds log10 values.
    EnsembleSummary(const Eigen::MatrixXd &members, const std::vector<bool> &log10Columns,
                    SummaryKind kind);

    SummaryKind kind() const { return m_kind; }
    const Eigen::VectorXd &estimates() const { return m_estimates; }
    const Eigen::VectorXd &spreads() const { return m_spreads; }
    // Column k's estimate as a linear quantity: for a log10 column summarised
    // by Log, 10 to the estimate (the geometric mean); else the estimate.
    double linearEstimate(int k) const;

    static double mean(const Eigen::VectorXd &values);
    static double sampleSd(const Eigen::VectorXd &values);

private:
    void summariseLog10(int k, const Eigen::VectorXd &log10Values);

    SummaryKind m_kind;
    std::vector<bool> m_log10;
    Eigen::VectorXd m_estimates;
    Eigen::VectorXd m_spreads;
};

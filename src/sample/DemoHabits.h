#pragma once

#include <array>
#include <cstdint>

#include "sample/DemoHousehold.h"

namespace quillon {

// What the sample household spends its money on: amounts in cents, the names invented.

// What is bought now and then. Prices are those of the first year.
struct Habit {
    DemoAccount account;
    const char* category;
    int weekdayPercent;  // chance on a working day
    int weekendPercent;
    int64_t lowCents;
    int64_t highCents;
    std::array<const char*, 4> payees;
    const char* memo;
};
inline constexpr DemoAccount kChecking = DemoAccount::Checking;
inline constexpr DemoAccount kCard = DemoAccount::Card;
inline constexpr Habit kHabits[] = {
    {kCard,
     "Restaurants",
     62,
     20,
     310,
     690,
     {"Blue Heron Coffee", "Blue Heron Coffee", "Corner Roast", "Platform 3 Espresso"},
     ""},
    {kChecking,
     "Restaurants",
     46,
     12,
     720,
     1480,
     {"Tamarind Lunch Bar", "Noodle Yard", "Deli on Fifth", "Harborview Cafeteria"},
     "Lunch"},
    {kCard,
     "Restaurants",
     7,
     46,
     2400,
     8600,
     {"Osteria Ponte", "Café Mühlbach", "The Brass Lantern", "Sakura House"},
     "Dinner"},
    {kCard,
     "Groceries",
     31,
     24,
     640,
     2900,
     {"Greenleaf Market", "Corner Grocery", "Greenleaf Market", "Harbor Fish"},
     ""},
    {kCard,
     "Auto Expenses",
     20,
     12,
     300,
     1400,
     {"Port Hale Parking", "Bridge Toll", "Port Hale Parking", "Suds Car Wash"},
     ""},
    {kChecking,
     "Travel",
     53,
     6,
     275,
     550,
     {"Metro Transit", "Metro Transit", "Metro Transit", "Bay Ferry"},
     "Fare"},
    {kCard,
     "Household",
     9,
     26,
     900,
     9800,
     {"Oak & Anvil Hardware", "Linen Barn", "Thrifty Home", "Garden Row"},
     ""},
    {kCard,
     "Entertainment",
     5,
     24,
     900,
     5200,
     {"Orpheum Cinema", "Page & Turner Books", "Marlow Museum", "Rialto Theater"},
     ""},
    {kCard,
     "Miscellaneous",
     15,
     17,
     1100,
     12400,
     {"Parcelwise Online", "Parcelwise Online", "Threadbare Clothing", "Stride Shoes"},
     ""},
    {kCard,
     "Computers",
     1,
     2,
     2900,
     64000,
     {"Circuit Depot", "Circuit Depot", "Parcelwise Online", "Lumen Photo"},
     ""},
    {kChecking,
     "Medical",
     3,
     3,
     600,
     4800,
     {"Bayside Pharmacy", "Bayside Pharmacy", "Hale Street Clinic", "Bayside Pharmacy"},
     ""},
    {kChecking,
     "Miscellaneous",
     16,
     20,
     150,
     900,
     {"Newsstand 12", "Vending", "Laundromat", "Post Office"},
     ""},
};

// What comes every month on its day.
struct MonthlyBill {
    int day;
    DemoAccount account;
    const char* payee;
    const char* category;
    int64_t lowCents;
    int64_t highCents;
    const char* electronic;
    const char* memo;
    int fromYear;
};
inline constexpr MonthlyBill kBills[] = {
    {3, kChecking, "Tidewater Water District", "Water", 3100, 4600, "EFT", "", 2015},
    {6, kCard, "Northline Telephone", "Telephone", 6400, 6400, "", "Two lines", 2015},
    {8, kCard, "Brightwire Internet", "Telephone", 4995, 4995, "", "Home internet", 2015},
    {9, kCard, "Streamhouse", "Subscriptions", 899, 899, "", "", 2015},
    {11, kCard, "Morning Ledger", "Subscriptions", 1250, 1250, "", "Newspaper", 2015},
    {14, kCard, "Cloudcase Storage", "Subscriptions", 299, 299, "", "", 2017},
    {17, kCard, "Harbor Fitness", "Subscriptions", 3500, 3500, "", "Membership", 2016},
    {19, kCard, "Tunefold", "Subscriptions", 999, 999, "", "", 2018},
    {21, kChecking, "Open Hands Food Bank", "Charity", 2500, 2500, "EFT", "", 2015},
    {24, kChecking, "Marlow Mutual Life", "Life Insurance", 2860, 2860, "EFT", "", 2015},
};

// What comes once or twice a year.
struct YearlyBill {
    int month;
    int day;
    DemoAccount account;
    const char* payee;
    const char* category;
    int64_t cents;
    const char* memo;
};
inline constexpr YearlyBill kYearly[] = {
    {1, 12, kChecking, "Anchor Insurance", "Auto Insurance", 41850, "Six months"},
    {7, 12, kChecking, "Anchor Insurance", "Auto Insurance", 41850, "Six months"},
    {2, 18, kCard, "Anchor Insurance", "Renters Insurance", 17400, "Year"},
    {3, 9, kCard, "Kestrel Auto Repair", "Auto Expenses", 28900, "Service and tires"},
    {4, 20, kCard, "Dr. Imre Novák", "Dental", 9500, "Check-up"},
    {10, 20, kCard, "Dr. Imre Novák", "Dental", 9500, "Check-up"},
    {5, 6, kCard, "Clearview Optics", "Vision", 18900, "Glasses"},
    {9, 3, kCard, "Kestrel Auto Repair", "Auto Expenses", 16400, "Brakes"},
    {11, 2, kCard, "Stacks Software", "Software", 5900, "Yearly licence"},
    {6, 5, kCard, "Petal & Stem", "Gifts", 4800, "Birthday, Nora"},
    {9, 28, kCard, "Toy Chest", "Gifts", 6200, "Birthday, Theo"},
    {12, 28, kChecking, "Open Hands Food Bank", "Charity", 20000, "Year-end gift"},
};

inline constexpr const char* kGiftShops[] = {"Toy Chest", "Page & Turner Books",
                                             "Parcelwise Online", "Petal & Stem", "Linen Barn"};
inline constexpr const char* kSymbols[] = {"MRLW", "NGTX", "HLBR", "TDWR"};

}  // namespace quillon

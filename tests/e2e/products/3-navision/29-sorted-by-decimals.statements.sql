-- max rows 3
SELECT "No_","Name","City","Blocked","Created_Date","Opens","Balance" FROM "Customer" WHERE ((("Balance" > -1240))) ORDER BY "Balance", "No_"
